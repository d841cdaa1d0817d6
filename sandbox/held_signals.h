#pragma once

#include <csignal>
#include <optional>

#include "platform/core/owners.h"

namespace MERO::Sandbox {

struct HeldSignal {
    int number;
    /// It came from the terminal, which sends it to all processes in the foreground.
    bool isTerminals;
};

/// Holds back SIGHUP, SIGINT, SIGQUIT and SIGTERM, as far as the caller of the program did not ignore them,
/// so that no moment is a wrong one for them.
class HeldSignals {
public:
    /// Throws std::system_error.
    HeldSignals();

    /// Waits until `descriptor` can be read or is hung up, or a signal comes. Throws std::system_error.
    /// @return the signal, if one came
    std::optional<HeldSignal> Await(int descriptor) const;
    /// The mask that this program was started with, for a command that it starts.
    const sigset_t& CallersMask() const { return callersMask; }

private:
    sigset_t callersMask{};
    Descriptor arrivals;
};

} // namespace MERO::Sandbox
