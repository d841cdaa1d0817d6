#include "sandbox/inside.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sched.h>
#include <unistd.h>

#include "sandbox/capabilities.h"
#include "sandbox/check.h"
#include "sandbox/mounting.h"
#include "sandbox/named_hierarchy.h"

namespace MERO::Sandbox {

namespace {

void EnterBox(const Descriptor& boxInit)
{
    std::error_code unknown;
    const std::filesystem::path workingDirectory = std::filesystem::current_path(unknown);
    Check(setns(boxInit.Get(), CLONE_NEWNS | CLONE_NEWUTS | CLONE_NEWIPC | CLONE_NEWCGROUP),
          "cannot enter the box");
    for (const char* hierarchy : kHierarchies)
        WriteFile(std::filesystem::path("/sys/fs/cgroup") / hierarchy / "cgroup.procs", "0");
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

} // namespace

OwnedProcess StartInside(const Descriptor& boxInit, const std::vector<std::string>& command,
                         const sigset_t& signalMask)
{
    // A process namespace is entered by children alone, so it is changed for just this one.
    const Descriptor ownNamespace(
        Check(open("/proc/self/ns/pid", O_RDONLY | O_CLOEXEC), "cannot open the own namespace"));
    Check(setns(boxInit.Get(), CLONE_NEWPID), "cannot enter the box");
    std::optional<OwnedProcess> process = OwnedProcess::Fork(0, "cannot start a process in the box");
    if (process) {
        Check(setns(ownNamespace.Get(), CLONE_NEWPID), "cannot leave the box");
        return std::move(*process);
    }
    try {
        EnterBox(boxInit);
        Check(sigprocmask(SIG_SETMASK, &signalMask, nullptr), "cannot restore the signal mask");
        Execute(command);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "mero-sandbox: %s\n", error.what());
    }
    _exit(kSandboxFailed);
}

} // namespace MERO::Sandbox
