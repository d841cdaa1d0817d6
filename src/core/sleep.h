#pragma once

#include <unistd.h>

namespace MERO::Systemd {

/// A whole second: a signal of the host's, whose handler ends a sleep early, does not shorten it.
inline void SleepOneSecond()
{
    for (unsigned left = 1; left != 0;) {
        left = sleep(left);
    }
}

} // namespace MERO::Systemd
