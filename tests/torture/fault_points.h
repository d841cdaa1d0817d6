#pragma once

/// Makes one call of this process, and of those that it forks, fail. The library behind this stands before the C
/// library, whose functions it passes on otherwise; sleeps take no time.
namespace MERO::Torture {

enum class FaultKind { Allocation, SystemCall };

/// From now on the calls of one kind in this thread are counted, and call `nth` fails; 0: none does.
void ArmFaults(FaultKind kind, long nth);

/// The number of calls since.
long DisarmFaults();

/// The function that failed, or "nothing".
const char* FailedCall();

} // namespace MERO::Torture
