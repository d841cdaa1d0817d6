#pragma once

/// Makes one call of this process, and of those that it forks, fail. The library behind this stands before the C
/// library, whose functions it passes on otherwise; sleeps take no time.
namespace MERO::Torture {

enum class FaultKind { Allocation, SystemCall, Interruption }; ///< by a signal: calls go on

struct Faults {
    FaultKind kind; ///< of the calls that are counted, while it is armed
    bool isArmed;
    long nth; ///< the call that fails; 0: none does
    long count;
    const char* failed; ///< the function
};
/// Of this thread.
extern __attribute__((tls_model("initial-exec"))) constinit thread_local Faults faults;

} // namespace MERO::Torture
