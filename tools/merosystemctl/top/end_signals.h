#pragma once

#include <chrono>
#include <csignal>

namespace MERO::Tool {

/// While it lives, the signals that would end this program wait, so that it can tidy up before. They take effect when
/// it goes. Signals that are ignored stay so.
class EndSignals {
public:
    enum class Wake { Time, Signal, Input, Interrupted };

    EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;
    ~EndSignals();

    /// Waits for such a signal, and for the descriptor `input` to be readable or at its end, if there is one. Another
    /// signal's handler interrupts it.
    Wake WaitUntil(std::chrono::steady_clock::time_point time, int input = -1) const;

private:
    sigset_t held_;
    sigset_t before_;
    sigset_t waiting_; ///< what is blocked while it waits
    int descriptor_;
};

} // namespace MERO::Tool
