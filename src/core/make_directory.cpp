#include "core/make_directory.h"

#include <merocore/process.h>

#include <sys/stat.h>

namespace MERO::Systemd {
namespace {

constexpr mode_t kMode = 0755;

} // namespace

int MakeDirectory(const std::string& directory)
{
    // The program's own folders have what the umask leaves, which may be everything. The umask cannot be set for a
    // moment: it is that of all threads.
    for (std::size_t end = 0; end != directory.npos;) {
        end = directory.find('/', end + 1);
        const std::string folder = directory.substr(0, end);
        if (mkdir(folder.c_str(), kMode) == 0) {
            chmod(folder.c_str(), kMode); // the umask may have taken too much
        }
    }
    return MLIBCExec("/bin/mkdir", "-p", directory.c_str(), nullptr, nullptr);
}

} // namespace MERO::Systemd
