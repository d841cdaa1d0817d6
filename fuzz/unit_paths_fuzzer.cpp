#include "support.h"
#include "unit/unit_paths.h"

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

/// What systemctl's `show` prints.
MERO_FUZZ_TARGET(unit_paths)
{
    const std::vector<std::string> paths = UnitPathsParse(Lines(input));
    const bool hasFragment = Holds(input, "FragmentPath=");
    MERO_REQUIRE(paths.empty() || hasFragment || Holds(input, "DropInPaths="));
    std::string_view rest = input;
    for (const std::string& path : paths) {
        MERO_REQUIRE(!path.empty() && (hasFragment || !Holds(path, " ")));
        const std::size_t at = rest.find(path);
        MERO_REQUIRE(at != rest.npos);
        rest.remove_prefix(at + path.size());
    }
}
