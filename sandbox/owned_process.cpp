#include "sandbox/owned_process.h"

#include <linux/sched.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include "sandbox/check.h"

namespace MERO::Sandbox {

namespace {

/// The pid 1 of a namespace ends only once all processes in it are reaped. One that lost its parent outside is never
/// reaped if the host's pid 1 reaps nothing, as in many containers.
constexpr int kPatienceMilliseconds = 3000;

} // namespace

std::optional<OwnedProcess> OwnedProcess::Fork(std::uint64_t namespaces, const std::string& what)
{
    int pidfd = -1;
    clone_args arguments{};
    arguments.flags = CLONE_PIDFD | namespaces;
    arguments.pidfd = reinterpret_cast<std::uintptr_t>(&pidfd);
    arguments.exit_signal = SIGCHLD;
    if (Check(syscall(SYS_clone3, &arguments, sizeof arguments), what) == 0)
        return std::nullopt;
    return OwnedProcess(Descriptor(pidfd));
}

OwnedProcess::~OwnedProcess()
{
    if (!pidfd)
        return;
    Signal(SIGKILL);
    pollfd watched{pidfd.Get(), POLLIN, 0};
    if (Uninterrupted([&] { return poll(&watched, 1, kPatienceMilliseconds); }) > 0)
        Reap();
}

void OwnedProcess::Signal(int signal) const
{
    (void)syscall(SYS_pidfd_send_signal, (signalled ? signalled : pidfd).Get(), signal, nullptr, 0);
}

siginfo_t OwnedProcess::Reap()
{
    siginfo_t end{};
    (void)Uninterrupted([&] { return waitid(P_PIDFD, static_cast<id_t>(pidfd.Get()), &end, WEXITED); });
    pidfd.Close();
    return end;
}

} // namespace MERO::Sandbox
