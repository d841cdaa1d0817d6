#include "sandbox/inside.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <sched.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

#include "sandbox/capabilities.h"
#include "sandbox/check.h"
#include "sandbox/message.h"
#include "sandbox/mounting.h"

namespace MERO::Sandbox {

namespace {

void EnterBox(const Descriptor& boxInit, CgroupLayout cgroups)
{
    std::error_code unknown;
    const std::filesystem::path workingDirectory = std::filesystem::current_path(unknown);
    Check(setns(boxInit.Get(), CLONE_NEWNS | CLONE_NEWUTS | CLONE_NEWIPC | CLONE_NEWCGROUP),
          "cannot enter the sandbox");
    for (const Hierarchy& hierarchy : HierarchiesOf(cgroups))
        WriteFile(std::filesystem::path(hierarchy.commands) / "cgroup.procs", "0");
    if (chdir(workingDirectory.c_str()) != 0)
        Check(chdir("/"), "cannot enter /");
    DropHostCapabilities();
}

[[noreturn]] void Execute(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    const int error = errno;
    std::fprintf(stderr, "mero-sandbox: cannot run %s: %s\n", arguments[0], std::strerror(error));
    _exit(error == ENOENT ? kNotFound : kCannotRun);
}

[[noreturn]] void BecomeCommand(const Descriptor& boxInit, CgroupLayout cgroups,
                                const std::vector<std::string>& command, const sigset_t& signalMask, int output)
{
    try {
        Check(dup2(output, STDOUT_FILENO), "cannot redirect standard output");
        EnterBox(boxInit, cgroups);
        Check(sigprocmask(SIG_SETMASK, &signalMask, nullptr), "cannot restore the signal mask");
        Execute(command);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "mero-sandbox: %s\n", error.what());
    }
    _exit(kSandboxFailed);
}

/// This includes the user's connection to the keeper, which must close when the user is gone.
void CloseAllBut(int kept)
{
    const unsigned fd = static_cast<unsigned>(kept);
    (void)close_range(STDERR_FILENO + 1, fd - 1, 0);
    (void)close_range(fd + 1, ~0U, 0);
}

/// Runs the command as a child of this process, and ends with its exit code.
/// @param user  receives the command's pidfd
[[noreturn]] void BecomeParent(const Descriptor& user, const Descriptor& boxInit, CgroupLayout cgroups,
                               const std::vector<std::string>& command, const sigset_t& signalMask, int output)
{
    try {
        Check(setns(boxInit.Get(), CLONE_NEWPID), "cannot enter the sandbox");
        std::optional<OwnedProcess> process = OwnedProcess::Fork(0, "cannot start a process in the sandbox");
        if (!process)
            BecomeCommand(boxInit, cgroups, command, signalMask, output);
        Send(user, "", process->Get());
        CloseAllBut(process->Get());
        const siginfo_t end = process->Reap();
        _exit(end.si_code == CLD_EXITED ? end.si_status : kSignalBase + end.si_status);
    } catch (const std::exception& error) {
        Send(user, error.what());
    }
    _exit(kSandboxFailed);
}

} // namespace

OwnedProcess StartInside(const Descriptor& boxInit, CgroupLayout cgroups, const std::vector<std::string>& command,
                         const sigset_t& signalMask, int output)
{
    // The sandbox does not end before the command is reaped. So the command's parent must survive if this process is
    // killed: otherwise the command would become a child of the host's pid 1, which in many containers reaps nothing.
    auto [ownEnd, parentEnd] = MakeMessagePair();
    std::optional<OwnedProcess> parent = OwnedProcess::Fork(0, "cannot start a process");
    if (!parent) {
        ownEnd.Close();
        BecomeParent(parentEnd, boxInit, cgroups, command, signalMask, output);
    }
    parentEnd.Close();
    std::optional<Message> started = Receive(ownEnd);
    if (!started)
        throw std::runtime_error("the command's parent was killed");
    if (!started->descriptor)
        throw std::runtime_error(started->text);
    parent->PassSignalsTo(std::move(started->descriptor));
    return std::move(*parent);
}

} // namespace MERO::Sandbox
