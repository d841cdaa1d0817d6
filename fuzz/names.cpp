#include "core/names.h"
#include "core/text.h"
#include "fuzzer.h"

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

namespace {

void UnitName(std::string_view input)
{
    const std::string unit(input);
    const std::string stem = UnitNameWithoutFileExtensionGet(unit);
    const std::string type = UnitTypeGet(unit);
    MERO_REQUIRE(!Holds(type, ".") && unit == (Holds(unit, ".") ? stem + "." + type : stem));
    const std::string normalized = NormalizedUnitNameGet(unit);
    MERO_REQUIRE(HasKnownUnitType(normalized) && normalized.starts_with(unit));
    MERO_REQUIRE(NormalizedUnitNameGet(normalized) == normalized);
}

/// The characters that divide, and the text.
void SplitText(std::string_view input)
{
    const std::string delimiters = TakeLine(input);
    const std::string_view trimmed = Trim(input);
    std::vector<std::string> pieces;
    MERO_REQUIRE(Split(std::string(input), pieces, delimiters));
    MERO_REQUIRE(pieces.empty() == trimmed.empty());
    std::size_t size = pieces.empty() ? 0 : pieces.size() - 1; // of the delimiters between
    for (const std::string& piece : pieces) {
        MERO_REQUIRE(piece.find_first_of(delimiters) == piece.npos);
        size += piece.size();
    }
    MERO_REQUIRE(size == trimmed.size());
}

} // namespace

MERO_FUZZ(UnitName, SplitText)
