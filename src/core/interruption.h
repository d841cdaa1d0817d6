#pragma once

#include "platform/core/system_calls.h"

#include <unistd.h>

/// For operations that can be interrupted: by the end of their thread, an exception or a signal.
namespace MERO::Systemd {

using MERO::CancelBlock;

/// Runs `work`, then `restore`, even if the work throws or its thread ends; that continues afterwards. Returns whether
/// both succeeded.
template <typename Work, typename Restore>
bool RunAndRestore(Work&& work, Restore&& restore)
{
    bool done = false;
    try {
        done = work();
    } catch (...) { // also the thread's end
        (void)restore();
        throw;
    }
    return restore() && done;
}

/// Sleeps a full second, even if a signal handler of the host process ends sleep() early.
inline void SleepOneSecond()
{
    for (unsigned left = 1; left != 0;) {
        left = sleep(left);
    }
}

} // namespace MERO::Systemd
