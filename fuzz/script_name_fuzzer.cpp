#include "resource/process_texts.h"
#include "support.h"

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

/// The first line of /proc/<pid>/cmdline.
MERO_FUZZ_TARGET(script_name)
{
    const std::string path(input.substr(0, input.find('\0')));
    const std::size_t last = path.find_last_not_of('/');
    const std::string name = ScriptName(input);
    if (last == path.npos) {
        MERO_REQUIRE(name == (path.empty() ? "." : "/"));
    } else {
        MERO_REQUIRE(!name.empty() && !Holds(name, "/"));
        MERO_REQUIRE(("/" + path.substr(0, last + 1)).ends_with("/" + name));
    }
}
