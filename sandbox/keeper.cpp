#include "sandbox/keeper.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include "sandbox/check.h"
#include "sandbox/console.h"

namespace MERO::Sandbox {

namespace {

constexpr const char* kKeeperName = "mero-keeper";

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// Detaches from the user's terminal and shell.
void LeaveUser()
{
    Check(prctl(PR_SET_NAME, kKeeperName), "cannot name the keeper");
    Check(setsid(), "cannot make a session");
    Check(chdir("/"), "cannot enter /");
    const Descriptor null(Check(open("/dev/null", O_RDWR | O_CLOEXEC), "cannot open /dev/null"));
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        Check(dup2(null.Get(), stream), "cannot leave the terminal");
}

/// @return whether systemd has reported that it is ready
bool TakeNotifications(const Descriptor& socket)
{
    bool isReady = false;
    char datagram[4096];
    ssize_t cbRead = 0;
    while ((cbRead = recv(socket.Get(), datagram, sizeof datagram, 0)) > 0)
        isReady |= std::string_view(datagram, static_cast<std::size_t>(cbRead)).starts_with("READY=1\n");
    return isReady;
}

int MillisecondsUntil(steady_clock::time_point deadline)
{
    const auto left = std::chrono::ceil<milliseconds>(deadline - steady_clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

/// Makes a sandbox and watches it until `user` closes the connection.
void KeepBox(const Descriptor& user, const Box& box, milliseconds bootTime)
{
    const auto deadline = steady_clock::now() + bootTime;
    std::list<BoxCgroup> cgroups;
    for (const Hierarchy& hierarchy : HierarchiesOf(box.cgroups))
        cgroups.emplace_back(hierarchy);
    BoxInit init = StartInit(cgroups, box);
    Console console(std::move(init.console));
    bool isBooted = false;

    while (true) {
        pollfd watched[] = {{user.Get(), POLLIN, 0},
                            {init.process.Get(), POLLIN, 0},
                            {init.notifications.Get(), POLLIN, 0},
                            {console.Get(), POLLIN, 0}};
        const int timeout = isBooted ? -1 : MillisecondsUntil(deadline);
        Check(Uninterrupted([&] { return poll(watched, std::size(watched), timeout); }), "cannot watch the sandbox");
        const auto [userGone, initEnded, notified, printed] = watched;
        if (userGone.revents)
            return;
        if (printed.revents)
            console.Collect();
        if (initEnded.revents)
            throw std::runtime_error(isBooted ? "the system inside has ended"
                                              : "systemd ended while it booted:" + console.Tail());
        if (notified.revents && TakeNotifications(init.notifications) && !isBooted) {
            isBooted = true;
            Send(user, "", init.process.Get());
        }
        if (!isBooted && steady_clock::now() >= deadline)
            throw std::runtime_error("systemd did not finish booting in time:" + console.Tail());
    }
}

} // namespace

Keeper::Keeper(const Box& box, milliseconds bootTime)
{
    auto [userEnd, keeperEnd] = MakeMessagePair();
    pid = Check(fork(), "cannot start the keeper");
    if (pid == 0) {
        userEnd.Close();
        try {
            LeaveUser();
            KeepBox(keeperEnd, box, bootTime);
        } catch (const std::exception& error) {
            Send(keeperEnd, error.what());
        }
        _exit(0);
    }
    connection = std::move(userEnd);
}

Keeper::~Keeper()
{
    connection.Close();
    (void)Uninterrupted([this] { return waitpid(pid, nullptr, 0); });
}

} // namespace MERO::Sandbox
