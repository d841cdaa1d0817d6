#include "recovery/caller_watcher.h"

#include "core/common.h"
#include "core/errors.h"
#include "core/systemctl_dialect.h"
#include "platform/core/system_calls.h"
#include "resource/cgroup_move.h"

#include <merocore/process.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <iterator>
#include <string_view>

namespace MERO::Systemd {
namespace {

constexpr int kPatience = 30'000; // milliseconds for leaving the caller's unit

Descriptor OpenProcess(pid_t pid)
{
    return Descriptor(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
}

/// Writes a word to a kernel file, if that exists.
void WriteKernelFile(const char* path, std::string_view word)
{
    const Descriptor file(open(path, O_WRONLY | O_CLOEXEC));
    if (file) {
        (void)WriteAll(file.Get(), word);
    }
}

void LeaveUnit()
{
    if (ConfiguredSystemctlDialect().isCurrent) {
        (void)MoveToScope(MERO_HERE, "system.slice"); // logs a failure
        return;
    }
    WriteKernelFile("/sys/fs/cgroup/systemd/cgroup.procs", "0"); // the writing process itself
}

/// Waits for the caller's end. Returns whether the caller had armed the watcher.
bool AwaitCaller(int caller, int line)
{
    bool isArmed = false;
    for (;;) {
        pollfd events[] = {{.fd = caller, .events = POLLIN, .revents = 0},
                           {.fd = line, .events = POLLIN, .revents = 0}};
        (void)Uninterrupted([&] { return poll(events, std::size(events), -1); });
        char message;
        while (recv(line, &message, 1, MSG_DONTWAIT) == 1) {
            isArmed = true;
        }
        // The line also closes if the caller runs exec.
        if (events[0].revents != 0 || (events[1].revents & POLLHUP) != 0) {
            return isArmed;
        }
    }
}

void Watch(int caller, int line, const std::vector<int>& locks, const std::function<void()>& restore,
           const std::function<void()>& giveUp)
{
    std::vector<int> kept = locks;
    kept.insert(kept.end(), {caller, line});
    KeepDescriptors(kept);
    LeaveUnit();
    WriteKernelFile("/proc/self/oom_score_adj", "-1000"); // the OOM killer would see it as large as its caller
    const pid_t self = getpid();
    (void)send(line, &self, sizeof self, MSG_NOSIGNAL);
    AwaitCaller(caller, line) ? restore() : giveUp();
}

/// Waits until the watcher has left the caller's unit. Returns its process ID; 0 if it does not answer.
pid_t AwaitWatcher(int line)
{
    pollfd event{.fd = line, .events = POLLIN, .revents = 0};
    pid_t pid = 0;
    const bool isReady = Uninterrupted([&] { return poll(&event, 1, kPatience); }) > 0 &&
                         recv(line, &pid, sizeof pid, MSG_DONTWAIT) == sizeof pid;
    return isReady ? pid : 0;
}

} // namespace

bool CallerWatcher::Start(const std::vector<int>& locks, const std::function<void()>& restore,
                          const std::function<void()>& giveUp)
{
    int ends[2];
    const Descriptor caller = OpenProcess(getpid());
    if (caller && socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) == 0) {
        line_ = Descriptor(ends[0]);
        Descriptor theirs(ends[1]);
        const bool isForked =
            ForkAndRun([&] { Watch(caller.Get(), theirs.Get(), locks, restore, giveUp); }, MLIBC_FORK_NEW_SESSION);
        theirs.Close();
        pid_ = isForked ? AwaitWatcher(line_.Get()) : 0;
        watcher_ = pid_ != 0 ? OpenProcess(pid_) : Descriptor();
    }
    if (!watcher_) {
        MERO_LOG(LOG_WARNING, "There is no watcher for pid[%d]: nothing is restored if it is killed: %m", getpid());
        Forget();
    }
    return static_cast<bool>(watcher_);
}

void CallerWatcher::Arm()
{
    if (line_) {
        (void)send(line_.Get(), "", 1, MSG_NOSIGNAL);
    }
}

void CallerWatcher::End()
{
    if (!watcher_) {
        return;
    }
    // Not by a message: a watcher that is stopped (SIGSTOP) would not read it.
    (void)syscall(SYS_pidfd_send_signal, watcher_.Get(), SIGKILL, nullptr, 0);
    pollfd ended{.fd = watcher_.Get(), .events = POLLIN, .revents = 0};
    (void)Uninterrupted([&] { return poll(&ended, 1, -1); });
    siginfo_t info;
    (void)waitid(P_PIDFD, static_cast<id_t>(watcher_.Get()), &info, WEXITED | WNOHANG); // if we are a subreaper
    Forget();
}

bool CallerWatcher::HandOver()
{
    const bool isThere = static_cast<bool>(watcher_);
    Forget();
    return isThere;
}

void CallerWatcher::Forget()
{
    watcher_.Close();
    line_.Close();
    pid_ = 0;
}

} // namespace MERO::Systemd
