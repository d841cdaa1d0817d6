#include "sandbox/box_init.h"

#include <csignal>
#include <fcntl.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "sandbox/box_root.h"
#include "sandbox/capabilities.h"
#include "sandbox/check.h"
#include "sandbox/message.h"
#include "sandbox/mounting.h"
#include "sandbox/private_root.h"

namespace MERO::Sandbox {

namespace {

constexpr const char* kNotifySocket = "/run/mero-sandbox/notify";

/// Makes a terminal of the sandbox its `/dev/console` and this process's standard streams.
/// @return the terminal's master
Descriptor OpenConsole()
{
    Descriptor master(Check(open("/dev/ptmx", O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC), "cannot open /dev/ptmx"));
    const int unlocked = 0;
    int number = 0;
    Check(ioctl(master.Get(), TIOCSPTLCK, &unlocked), "cannot unlock the console");
    Check(ioctl(master.Get(), TIOCGPTN, &number), "cannot find the console");
    AttachNew(CopyMount("/dev/pts/" + std::to_string(number)), "/dev/console");

    const Descriptor terminal(Check(open("/dev/console", O_RDWR | O_NOCTTY | O_CLOEXEC), "cannot open the console"));
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        Check(dup2(terminal.Get(), stream), "cannot use the console");
    return master;
}

void BindToNotifySocket(const Descriptor& socket)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string_view(kNotifySocket).copy(address.sun_path, sizeof address.sun_path - 1);
    Check(bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
          "cannot make " + std::string(kNotifySocket));
}

[[noreturn]] void ExecuteSystemd(CgroupLayout layout)
{
    // The sandbox must not inherit descriptors from the caller.
    Check(close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC), "cannot close descriptors");
    const std::string unit = std::string("--unit=") + kBootTarget;
    const std::string notifySocket = std::string("NOTIFY_SOCKET=") + kNotifySocket;
    std::vector<const char*> arguments = {kSystemd, unit.c_str(), "--show-status=yes"};
    // In a container, systemd treats these like the kernel's command line. Without them it would mount the unified
    // hierarchy, whose cgroups are the host's.
    if (layout == CgroupLayout::V1)
        arguments.insert(arguments.end(),
                         {"systemd.unified_cgroup_hierarchy=no", "systemd.legacy_systemd_cgroup_controller=yes"});
    arguments.push_back(nullptr);
    const char* const environment[] = {"container=mero-sandbox", "TERM=dumb", notifySocket.c_str(), nullptr};
    execve(kSystemd, const_cast<char**>(arguments.data()), const_cast<char**>(environment));
    throw std::system_error(errno, std::generic_category(), std::string("cannot start ") + kSystemd);
}

/// The new pid 1, until it becomes systemd.
[[noreturn]] void BecomeSystemd(const Descriptor& keeper, const Descriptor& notifications,
                                const std::list<BoxCgroup>& cgroups, const Box& box)
{
    try {
        Check(prctl(PR_SET_PDEATHSIG, SIGKILL), "cannot follow the keeper's end");
        // A keeper that was killed before the prctl() does not send this.
        if (!Receive(keeper))
            _exit(1);

        umask(022);
        for (const BoxCgroup& cgroup : cgroups)
            cgroup.Enter();
        Check(unshare(CLONE_NEWCGROUP), "cannot make a cgroup namespace");
        EnterPrivateRoot(box.binds, box.root);
        FurnishForSystemd(box.cgroups);
        BindToNotifySocket(notifications);
        Send(keeper, "", OpenConsole().Get());
        DropHostCapabilities();
        ExecuteSystemd(box.cgroups);
    } catch (const std::exception& error) {
        Send(keeper, error.what());
    }
    _exit(1);
}

} // namespace

BoxInit StartInit(const std::list<BoxCgroup>& cgroups, const Box& box)
{
    Descriptor notifications(
        Check(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "cannot make a socket"));
    auto [keeperEnd, initEnd] = MakeMessagePair();
    std::optional<OwnedProcess> process =
        OwnedProcess::Fork(CLONE_NEWPID | CLONE_NEWNS | CLONE_NEWUTS | CLONE_NEWIPC, "cannot make namespaces");
    if (!process) {
        keeperEnd.Close();
        BecomeSystemd(initEnd, notifications, cgroups, box);
    }

    initEnd.Close();
    Send(keeperEnd, "go");
    std::optional<Message> console = Receive(keeperEnd);
    if (!console)
        throw std::runtime_error("the sandbox's first process was killed");
    if (!console->descriptor)
        throw std::runtime_error(console->text);
    // An exec that succeeds closes the connection.
    if (const std::optional<Message> failure = Receive(keeperEnd))
        throw std::runtime_error(failure->text);
    return {std::move(*process), std::move(notifications), std::move(console->descriptor)};
}

} // namespace MERO::Sandbox
