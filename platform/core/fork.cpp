#include "fail.h"
#include "owners.h"
#include "spawn.h"
#include "system_calls.h"

#include <merocore/process.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

using namespace MERO;
using namespace MERO::Core;

namespace {

pid_t ReadPid(int fd)
{
    pid_t pid = -1;
    const ssize_t count = Uninterrupted([&] { return read(fd, &pid, sizeof pid); });
    return count == static_cast<ssize_t>(sizeof pid) ? pid : -1;
}

/// Forks twice, so that init (or a subreaper) adopts the child. The process between sends the child's ID.
pid_t ForkDetached()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return -1;
    }
    Descriptor readEnd(ends[0]);
    Descriptor writeEnd(ends[1]);

    const pid_t between = fork();
    if (between < 0) {
        return -1;
    }
    if (between == 0) {
        const pid_t child = _Fork(); // fork() has already reset the C library's locks
        if (child == 0) {
            return 0; // the destructors close the pipe
        }
        const bool isSent =
            child > 0 && WriteAll(writeEnd.Get(), {reinterpret_cast<const char*>(&child), sizeof child});
        _exit(isSent ? 0 : 1);
    }
    writeEnd.Close();
    const pid_t child = ReadPid(readEnd.Get());
    WaitStatus(between);
    if (child < 0) {
        errno = EAGAIN; // the usual reason; the real one is lost with the process between
    }
    return child;
}

} // namespace

int MLIBCProcForkEx(unsigned long long flags)
{
    if ((flags & ~static_cast<unsigned long long>(MLIBC_FORK_DETACHED | MLIBC_FORK_NEW_SESSION)) != 0) {
        return MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
    }
    const pid_t pid = (flags & MLIBC_FORK_DETACHED) != 0 ? ForkDetached() : fork();
    if (pid < 0) {
        return MERO_FAIL(MLIBC_ERR_FORK);
    }
    if (pid == 0 && (flags & MLIBC_FORK_NEW_SESSION) != 0) {
        setsid(); // cannot fail: a process that was just forked leads no group
    }
    return pid;
}

int MLIBCProcAlive(int pid)
{
    if (pid <= 0) {
        return 0;
    }
    // Signal 0 also reaches a zombie; a pidfd is readable as soon as its process has ended.
    Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
    if (!process) {
        const bool isNone = errno == ESRCH || errno == EINVAL || errno == ENOENT; // the latter two: a thread's ID
        return !isNone && (kill(pid, 0) == 0 || errno == EPERM) ? 1 : 0; // no descriptor left, or a kernel before 5.3
    }
    pollfd ended{.fd = process.Get(), .events = POLLIN, .revents = 0};
    // poll() can fail with EINTR even though it does not wait.
    return Uninterrupted([&] { return poll(&ended, 1, 0); }) > 0 ? 0 : 1;
}
