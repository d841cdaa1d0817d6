#include "support.h"
#include "volume/process_files.h"

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

/// The text of /proc/<pid>/maps.
MERO_FUZZ_TARGET(memory_map)
{
    std::string_view rest = input;
    for (std::string line : Lines(input)) {
        if (line.ends_with('\n')) {
            line.pop_back();
        }
        const std::size_t slash = line.find('/');
        const std::string fields = line.substr(0, slash);
        if (slash == line.npos || !fields.ends_with(' ') || Holds(fields, "[")) {
            continue; // it names no file
        }
        const auto path = TakeMapPath(rest);
        MERO_REQUIRE(path && *path == line.substr(slash));
        const std::string_view cut = UpToBlank(*path);
        MERO_REQUIRE(path->starts_with(cut) && cut.find_first_of(" \t\n\v\f\r") == cut.npos);
        MERO_REQUIRE(cut.size() == path->size() || Trim(path->substr(cut.size(), 1)).empty());
    }
    MERO_REQUIRE(!TakeMapPath(rest));
}
