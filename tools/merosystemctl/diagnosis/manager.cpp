#include "diagnosis/manager.h"

#include "running/general_options.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace MERO::Tool {
namespace {

bool AsksOwnManager()
{
    return getuid() != 0 && !General().system;
}

/// The socket on which a manager listens for systemctl.
std::string ManagerSocket()
{
    if (!AsksOwnManager()) {
        return "/run/systemd/private";
    }
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    return (folder != nullptr ? folder : "/run/user/" + std::to_string(getuid())) + "/systemd/private";
}

} // namespace

bool IsManagerThere()
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = ManagerSocket();
    const int channel = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (channel < 0 || path.copy(address.sun_path, sizeof address.sun_path - 1) < path.size()) {
        close(channel);
        return true; // unknown
    }
    const int result = connect(channel, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    const bool isGone = result != 0 && (errno == ENOENT || errno == ECONNREFUSED || errno == ENOTDIR);
    close(channel);
    return !isGone;
}

std::string NoManagerText()
{
    return AsksOwnManager() ? "your user manager does not run; log in, or run it as root for the system's units"
                            : "systemd does not run on this machine";
}

std::string NoSuchUnitText()
{
    return AsksOwnManager() ? "your user manager has no such unit; run it as root for the system's units"
                            : "there is no such unit";
}

} // namespace MERO::Tool
