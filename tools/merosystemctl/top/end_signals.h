#pragma once

#include <chrono>
#include <csignal>

namespace MERO::Tool {

/// While it exists, signals that would end this program are held back, so that it can tidy up first; they take effect
/// when it is destroyed. Ignored signals stay ignored.
class EndSignals {
public:
    enum class Wake { Time, Signal, Input, Interrupted };

    EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;
    ~EndSignals();

    /// Waits until `time`, for such a signal, or for `input`, if given, to be readable or at its end. Another signal's
    /// handler interrupts the wait.
    Wake WaitUntil(std::chrono::steady_clock::time_point time, int input = -1) const;

private:
    sigset_t held_;
    sigset_t before_;
    sigset_t waiting_; ///< blocked while it waits
    int descriptor_;
};

} // namespace MERO::Tool
