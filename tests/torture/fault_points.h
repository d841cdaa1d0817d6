#pragma once

/// Makes one call in this process, or in a forked child, fail. This library is linked before the C library and passes
/// all other calls on to it; sleeps take no time.
namespace MERO::Torture {

enum class FaultKind { Allocation, SystemCall, Interruption }; ///< Interruption: by a signal, after which calls go on

struct Faults {
    FaultKind kind; ///< of the calls to count while armed
    bool isArmed;
    long nth; ///< the call that fails; 0: none
    long count;
    const char* failed; ///< the function
};

extern __attribute__((tls_model("initial-exec"))) constinit thread_local Faults faults;

} // namespace MERO::Torture
