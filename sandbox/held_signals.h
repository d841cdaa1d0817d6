#pragma once

#include <csignal>
#include <optional>

#include "platform/core/owners.h"

namespace MERO::Sandbox {

struct HeldSignal {
    int number;
    /// True if it came from the terminal, which sends it to all processes in the foreground.
    bool isTerminals;
};

/// Holds back SIGHUP, SIGINT, SIGQUIT and SIGTERM, except those that the program's caller ignored, so that they cannot
/// come at a wrong moment.
class HeldSignals {
public:
    /// Throws std::system_error.
    HeldSignals();

    /// Waits until `descriptor` is readable or hung up, or a signal comes. Throws std::system_error.
    /// @return the signal, if one came
    std::optional<HeldSignal> Await(int descriptor) const;
    /// The signal mask that this program was started with, for the command that it starts.
    const sigset_t& CallersMask() const { return callersMask; }

private:
    sigset_t callersMask{};
    Descriptor arrivals;
};

} // namespace MERO::Sandbox
