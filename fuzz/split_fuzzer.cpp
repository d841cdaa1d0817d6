#include "core/split.h"
#include "support.h"

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

/// The characters that divide, and the text.
MERO_FUZZ_TARGET(split)
{
    const std::string delimiters = TakeLine(input);
    const std::string_view trimmed = Trim(input);
    std::vector<std::string> pieces;
    MERO_REQUIRE(Split(std::string(input), pieces, delimiters));
    MERO_REQUIRE(pieces.empty() == trimmed.empty());

    std::string together;
    for (const std::string& piece : pieces) {
        MERO_REQUIRE(piece.find_first_of(delimiters) == piece.npos);
        together += piece;
        if (&piece != &pieces.back()) {
            MERO_REQUIRE(together.size() < trimmed.size() && Holds(delimiters, trimmed.substr(together.size(), 1)));
            together += trimmed[together.size()];
        }
    }
    MERO_REQUIRE(together == trimmed);
}
