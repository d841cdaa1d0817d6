#include "diagnosis/exit_status.h"

#include <algorithm>
#include <iterator>

namespace MERO::Tool {
namespace {

struct ExitStatus {
    int number;
    const char* name;
    const char* meaning;
};

// As "systemd-analyze exit-status" lists them. The manual page systemd.exec(5) differs for APPARMOR and BPF. Services
// can exit with the same numbers, though few do.
constexpr ExitStatus kStatuses[] = {
    {200, "CHDIR", "its working directory cannot be entered"},
    {201, "NICE", ""},
    {202, "FDS", ""},
    {203, "EXEC", "the program cannot be run"},
    {204, "MEMORY", "memory was short"},
    {205, "LIMITS", "a limit cannot be set"},
    {206, "OOM_ADJUST", ""},
    {207, "SIGNAL_MASK", ""},
    {208, "STDIN", "its standard input cannot be opened"},
    {209, "STDOUT", "its standard output cannot be opened"},
    {210, "CHROOT", "its root directory cannot be entered"},
    {211, "IOPRIO", ""},
    {212, "TIMERSLACK", ""},
    {213, "SECUREBITS", ""},
    {214, "SETSCHEDULER", ""},
    {215, "CPUAFFINITY", ""},
    {216, "GROUP", "its group does not exist or cannot be taken"},
    {217, "USER", "its user does not exist or cannot be taken"},
    {218, "CAPABILITIES", "its capabilities cannot be set"},
    {219, "CGROUP", "its cgroup cannot be made"},
    {220, "SETSID", ""},
    {221, "CONFIRM", "it was not confirmed"},
    {222, "STDERR", "its error output cannot be opened"},
    {224, "PAM", "its PAM session cannot be opened"},
    {225, "NETWORK", "its network namespace cannot be made"},
    {226, "NAMESPACE", "its mount namespace cannot be made"},
    {227, "NO_NEW_PRIVILEGES", ""},
    {228, "SECCOMP", ""},
    {229, "SELINUX_CONTEXT", ""},
    {230, "PERSONALITY", ""},
    {231, "APPARMOR", ""},
    {232, "ADDRESS_FAMILIES", ""},
    {233, "RUNTIME_DIRECTORY", "its directory below /run cannot be made"},
    {235, "CHOWN", ""},
    {236, "SMACK_PROCESS_LABEL", ""},
    {237, "KEYRING", ""},
    {238, "STATE_DIRECTORY", "its state directory cannot be made"},
    {239, "CACHE_DIRECTORY", "its cache directory cannot be made"},
    {240, "LOGS_DIRECTORY", "its log directory cannot be made"},
    {241, "CONFIGURATION_DIRECTORY", "its configuration directory cannot be made"},
    {242, "NUMA_POLICY", ""},
    {243, "CREDENTIALS", "its credentials cannot be set up"},
    {244, "BPF", ""},
    {245, "KSM", ""},
    {246, "MEMORY_THP", ""},
};

} // namespace

std::string ExitStatusText(int status)
{
    const auto found = std::find_if(std::begin(kStatuses), std::end(kStatuses),
                                    [&](const ExitStatus& one) { return one.number == status; });
    std::string text = std::to_string(status);
    if (found != std::end(kStatuses)) {
        text.append("/").append(found->name);
        if (*found->meaning != '\0') {
            text.append(" (").append(found->meaning).append(")");
        }
    }
    return text;
}

} // namespace MERO::Tool
