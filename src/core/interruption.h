#pragma once

#include "platform/core/system_calls.h"

#include <unistd.h>

/// What can break off an operation: the end of its thread, an exception, a signal.
namespace MERO::Systemd {

using MERO::CancelBlock;

/// Runs `work`, then `restore`, whatever came of the work: an exception, or the end of the thread in it, goes on after
/// that. Whether both succeeded.
template <typename Work, typename Restore>
bool RunAndRestore(Work&& work, Restore&& restore)
{
    bool done = false;
    try {
        done = work();
    } catch (...) { // the thread's end too
        (void)restore();
        throw;
    }
    return restore() && done;
}

/// A whole second: a signal of the host's, whose handler ends a sleep early, does not shorten it.
inline void SleepOneSecond()
{
    for (unsigned left = 1; left != 0;) {
        left = sleep(left);
    }
}

} // namespace MERO::Systemd
