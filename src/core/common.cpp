#include "core/common.h"

#include "core/errors.h"
#include "core/interruption.h"
#include "core/log.h"
#include "platform/core/owners.h"

#include <merocore/process.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <exception>

namespace MERO::Systemd {
namespace {

/// While it lives, no signal is delivered to this thread.
class SignalBlock {
public:
    SignalBlock()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;
    ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_;
};

/// The host process does not know of this child, so its handlers must not run here: they would write into its pipes.
void ResetSignals()
{
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
        std::signal(signal, SIG_DFL); // fails for the few that cannot be changed
    }
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

/// Lets the parent wait until the child has left the inherited working directory: the caller may unmount it next.
class Departure {
public:
    Departure()
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) == 0) { // if this fails, we do not wait
            awaited_ = Descriptor(ends[0]);
            announced_ = Descriptor(ends[1]);
        }
    }
    void Announce() { announced_.Close(); }
    void Await()
    {
        announced_.Close();
        pollfd end{awaited_.Get(), POLLIN, 0};
        if (awaited_) {
            (void)poll(&end, 1, kPatience);
        }
    }

private:
    static constexpr int kPatience = 1000; // milliseconds: another thread's child may hold a copy of the pipe's end
    Descriptor awaited_;
    Descriptor announced_;
};

[[noreturn]] void RunChild(const std::function<void()>& func, Departure& departure)
{
    ResetSignals();
    LimitLogging();
    (void)!chdir("/");
    departure.Announce();
    try {
        func();
    } catch (const std::exception& exception) {
        MERO_LOG(LOG_ERR, "Failed to execute function, exception = [%s]", exception.what());
    } catch (...) {
        MERO_LOG(LOG_ERR, "Failed to execute function");
    }
    _exit(0); // always 0: nobody waits for this child
}

} // namespace

bool ForkAndRun(std::function<void()> func, unsigned long long flags)
{
    const SignalBlock block;
    const CancelBlock noCancel; // holds in the child too
    Departure departure;
    const int pid = MLIBCProcForkEx(flags | MLIBC_FORK_DETACHED);
    if (pid < 0) {
        MERO_LOG(LOG_ERR, "Failed to fork" MERO_CORE_ERROR_FORMAT, MERO_CORE_ERROR_VALUES);
        return false;
    }
    if (pid == 0) {
        RunChild(func, departure);
    }
    departure.Await();
    return true;
}

void KeepDescriptors(std::vector<int> kept)
{
    // Not close-on-exec: if the host process has no standard streams, this becomes one of them.
    const int null = open("/dev/null", O_RDWR);
    for (int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (null >= 0 && std::find(kept.begin(), kept.end(), standard) == kept.end()) {
            dup2(null, standard);
        }
    }
    std::sort(kept.begin(), kept.end());
    int next = STDERR_FILENO + 1;
    for (int descriptor : kept) {
        if (descriptor > next) {
            close_range(static_cast<unsigned>(next), static_cast<unsigned>(descriptor - 1), 0);
        }
        next = std::max(next, descriptor + 1);
    }
    close_range(static_cast<unsigned>(next), ~0U, 0);
}

} // namespace MERO::Systemd
