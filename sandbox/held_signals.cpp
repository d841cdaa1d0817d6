#include "sandbox/held_signals.h"

#include <poll.h>
#include <sys/signalfd.h>

#include "sandbox/check.h"

namespace MERO::Sandbox {

HeldSignals::HeldSignals()
{
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        struct sigaction current {};
        sigaction(signal, nullptr, &current);
        if (current.sa_handler != SIG_IGN)
            sigaddset(&held, signal);
    }
    Check(sigprocmask(SIG_BLOCK, &held, &callersMask), "cannot hold signals");
    arrivals = Descriptor(Check(signalfd(-1, &held, SFD_CLOEXEC | SFD_NONBLOCK), "cannot watch signals"));
}

std::optional<HeldSignal> HeldSignals::Await(int descriptor) const
{
    pollfd watched[] = {{arrivals.Get(), POLLIN, 0}, {descriptor, POLLIN, 0}};
    Check(Uninterrupted([&] { return poll(watched, std::size(watched), -1); }), "cannot wait");
    signalfd_siginfo arrival{};
    if (read(arrivals.Get(), &arrival, sizeof arrival) != sizeof arrival)
        return std::nullopt;
    return HeldSignal{static_cast<int>(arrival.ssi_signo), arrival.ssi_code == SI_KERNEL};
}

} // namespace MERO::Sandbox
