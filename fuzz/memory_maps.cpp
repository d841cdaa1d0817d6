#include "fuzzer.h"
#include "volume/process_files.h"

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

namespace {

/// The text of /proc/<pid>/maps.
void MemoryMap(std::string_view input)
{
    const std::string_view whole = input;
    for (std::size_t left = input.size(); const auto path = TakeMapPath(input); left = input.size()) {
        MERO_REQUIRE(input.size() < left && path->starts_with('/') && !Holds(*path, "\n"));
        MERO_REQUIRE(path->data() > whole.data() && path->data()[-1] == ' ');
        const std::string_view cut = UpToBlank(*path);
        MERO_REQUIRE(path->starts_with(cut) && cut == Trim(cut));
        MERO_REQUIRE(cut.size() == path->size() || Trim(path->substr(cut.size(), 1)).empty());
    }
}

} // namespace

MERO_FUZZ(MemoryMap)
