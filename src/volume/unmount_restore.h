#pragma once

#include "volume/volume_stops.h"

#include <string>
#include <vector>

namespace MERO::Systemd {

// The targets of an unmounting.

inline constexpr const char* kBeginTarget = "unmount-volume-begin.target"; ///< stops the services
inline constexpr const char* kEndTarget = "unmount-volume-end.target";     ///< starts them again

/// What an unmounting brings back.
struct UnmountRestore {
    explicit UnmountRestore(const VolumeStopSet& set);

    bool isCurrent = false;
    std::vector<std::string> services; ///< the end target wants them

    // Empty unless systemctl is today's:
    std::vector<std::string> units; ///< the services, and what systemd stops along, in the order of their starts
    std::vector<std::string> lost;  ///< what it stops along, and cannot be started by hand

    /// Starts the end target. `mayBeStopping`: stop jobs may be left, and refuse the first start.
    bool StartEndTarget(bool mayBeStopping) const;

    /// Starts the units that do not run, and says in the log which do not run then. Whether all of them run.
    bool StartUnits() const;

    /// Waits until systemd has no job left for the begin target and for the units, and nobody is about to queue some.
    /// False when they cannot be listed, or there is still one after five minutes.
    bool WaitForJobs() const;
};

} // namespace MERO::Systemd
