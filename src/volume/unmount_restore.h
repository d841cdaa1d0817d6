#pragma once

#include "volume/volume_stops.h"

#include <string>
#include <vector>

namespace MERO::Systemd {

inline constexpr const char* kBeginTarget = "unmount-volume-begin.target"; ///< its start stops the services
inline constexpr const char* kEndTarget = "unmount-volume-end.target";     ///< its start starts them again

/// Starts again what an unmount has stopped.
struct UnmountRestore {
    explicit UnmountRestore(const VolumeStopSet& set);

    bool isCurrent = false;
    std::vector<std::string> services; ///< the end target's Wants=

    // Empty in the classic dialect:
    std::vector<std::string> units; ///< the services and what systemd stops along with them, in start order
    std::vector<std::string> lost;  ///< what stops along with them and cannot be started by hand

    /// Starts the end target. `mayBeStopping`: stop jobs may be left that make the first attempt fail.
    bool StartEndTarget(bool mayBeStopping) const;

    /// Starts the units that do not run, and logs those that still do not run. Returns whether all of them run.
    bool StartUnits() const;

    /// Waits until systemd has no job for the begin target or the units, and no systemctl is about to queue one.
    /// Returns false if the jobs cannot be listed, or there still is one after five minutes.
    bool WaitForJobs() const;
};

} // namespace MERO::Systemd
