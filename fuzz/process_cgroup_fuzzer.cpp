#include "resource/process_cgroup.h"
#include "support.h"

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

namespace {

/// The path of the first line that has these controllers, by the format's words.
bool PathOf(const std::vector<std::string>& lines, const std::string& controllers, std::string& path)
{
    for (const std::string& whole : lines) {
        const std::string line(Trim(whole));
        const std::size_t first = line.find(':');
        const std::size_t second = first == line.npos ? first : line.find(':', first + 1);
        if (second != line.npos && line.find(':', second + 1) == line.npos &&
            line.substr(first + 1, second - first - 1) == controllers) {
            path = line.substr(second + 1);
            return true;
        }
    }
    return false;
}

} // namespace

/// The text of /proc/<pid>/cgroup.
MERO_FUZZ_TARGET(process_cgroup)
{
    const std::vector<std::string> lines = Lines(input);
    const char* const controllers = Holds(input, ":name=systemd:") ? "name=systemd" : "";
    std::string wanted;
    std::string path;
    MERO_REQUIRE(SystemdCgroupPath(input, path) == PathOf(lines, controllers, wanted) && path == wanted);

    const std::string unit = UnitOfCgroup(path);
    if (!unit.empty()) {
        MERO_REQUIRE(Holds(unit, ".") && !Holds(unit, "/") && path.ends_with(unit));
        MERO_REQUIRE(UnitOfCgroup("/system.slice/" + unit) == UnitOfFolder(unit));
    }
}
