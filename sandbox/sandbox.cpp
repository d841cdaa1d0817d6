#include "sandbox/sandbox.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

#include "sandbox/bare_root.h"
#include "sandbox/box_init.h"
#include "sandbox/check.h"
#include "sandbox/held_signals.h"
#include "sandbox/inside.h"
#include "sandbox/keeper.h"

namespace MERO::Sandbox {

namespace {

using std::chrono::steady_clock;

constexpr const char* kSystemctl = "/usr/bin/systemctl";
/// logind counts as started once it owns its bus name: if no unit has failed, the bus and logind can be reached.
constexpr const char* kBootCheck = "state=$(systemctl is-system-running --wait) && exit;"
                                   "printf ' (%s):' \"$state\";"
                                   "printf ' %s' $(systemctl --failed --no-legend --plain | cut -d ' ' -f 1);"
                                   "exit 1";
constexpr int kEndOfBoxMilliseconds = 1000;

/// A signal to end this program came before there was a command to pass it to.
struct Interrupted {
    int signal;
};

void RequireHost(const std::filesystem::path& root)
{
    if (geteuid() != 0)
        throw std::runtime_error("only root can make a sandbox");
    for (const char* program : {kSystemd, kSystemctl})
        if (access((root.string() + program).c_str(), X_OK) != 0)
            throw std::runtime_error((root == "/" ? program : root.string() + program) +
                                     " is missing: systemd has to be installed");
}

/// Without this, another descriptor would get the number of a stream that the caller closed.
void OpenMissingStreams()
{
    int fd = Check(open("/dev/null", O_RDWR), "cannot open /dev/null");
    while (fd <= STDERR_FILENO)
        fd = Check(dup(fd), "cannot open a standard stream");
    close(fd);
}

void AwaitUnlessInterrupted(int descriptor, const HeldSignals& signals)
{
    if (const std::optional<HeldSignal> signal = signals.Await(descriptor))
        throw Interrupted{signal->number};
}

std::string ContentOf(const Descriptor& file)
{
    char text[4096];
    const ssize_t cbRead = pread(file.Get(), text, sizeof text, 0);
    return {text, static_cast<std::size_t>(std::max<ssize_t>(cbRead, 0))};
}

/// @return the pidfd of the sandbox's pid 1
Descriptor AwaitBoot(const Keeper& keeper, CgroupLayout cgroups, const HeldSignals& signals)
{
    AwaitUnlessInterrupted(keeper.Connection().Get(), signals);
    std::optional<Message> message = Receive(keeper.Connection());
    if (!message)
        throw std::runtime_error("the sandbox's keeper was killed");
    if (!message->descriptor)
        throw std::runtime_error(message->text);

    // The caller's environment must not change what this systemctl does.
    const std::vector<std::string> checkCommand = {"/usr/bin/env", "-i", "/bin/sh", "-c", kBootCheck};
    const Descriptor answer(Check(memfd_create("boot-check", MFD_CLOEXEC), "cannot make a file in memory"));
    OwnedProcess check = StartInside(message->descriptor, cgroups, checkCommand, signals.CallersMask(), answer.Get());
    AwaitUnlessInterrupted(check.Get(), signals);
    const siginfo_t end = check.Reap();
    if (end.si_code != CLD_EXITED || end.si_status != 0)
        throw std::runtime_error("systemd has booted, but not all of its units are well" + ContentOf(answer));
    return std::move(message->descriptor);
}

/// Prints it if the command was killed because the whole sandbox ended: the command dies slightly earlier.
void ReportEndOfBox(const Keeper& keeper)
{
    pollfd watched{keeper.Connection().Get(), POLLIN, 0};
    if (poll(&watched, 1, kEndOfBoxMilliseconds) <= 0)
        return;
    const std::optional<Message> notice = Receive(keeper.Connection());
    std::fprintf(stderr, "mero-sandbox: the command was killed: %s\n",
                 notice ? notice->text.c_str() : "the sandbox's keeper has ended");
}

int RunCommand(const Options& options, const Keeper& keeper, const Descriptor& boxInit, const HeldSignals& signals)
{
    OwnedProcess command = StartInside(boxInit, options.box.cgroups, options.command, signals.CallersMask());
    int passedOn = 0;
    while (const std::optional<HeldSignal> signal = signals.Await(command.Get())) {
        // The command gets the terminal's signals too.
        if (signal->isTerminals)
            continue;
        command.Signal(signal->number);
        passedOn = signal->number;
    }
    const siginfo_t end = command.Reap();
    if (end.si_code != CLD_EXITED)
        throw std::runtime_error("the command's parent was killed");
    const int signal = end.si_status - kSignalBase;
    if ((signal == SIGTERM || signal == SIGKILL) && signal != passedOn)
        ReportEndOfBox(keeper);
    return end.si_status;
}

} // namespace

int RunInSandbox(const Options& options)
{
    const auto start = steady_clock::now();
    RequireHost(options.box.root);
    FurnishBareRoot();
    OpenMissingStreams();
    // If SIGCHLD were ignored, the command's exit status would be lost.
    signal(SIGCHLD, SIG_DFL);
    const HeldSignals signals;
    try {
        const Keeper keeper(options.box, options.bootTime);
        const Descriptor boxInit = AwaitBoot(keeper, options.box.cgroups, signals);
        const std::chrono::duration<double> taken = steady_clock::now() - start;
        if (options.isVerbose)
            std::fprintf(stderr, "mero-sandbox: booted in %.2f s\n", taken.count());
        return RunCommand(options, keeper, boxInit, signals);
    } catch (const Interrupted& interruption) {
        return kSignalBase + interruption.signal;
    }
}

} // namespace MERO::Sandbox
