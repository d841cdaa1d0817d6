#pragma once

#include "volume/volume_stops.h"

#include <string>
#include <vector>

namespace MERO::Systemd {

// The targets of an unmounting.

inline constexpr const char* kBeginTarget = "unmount-volume-begin.target"; ///< stops the services
inline constexpr const char* kEndTarget = "unmount-volume-end.target";     ///< starts them again

/// What an unmounting brings back.
struct UnmountReturn {
    explicit UnmountReturn(const VolumeStopSet& set);

    bool isOfToday = false;
    std::vector<std::string> services;   ///< the end target wants them
    std::vector<std::string> dependents; ///< systemd stopped them along; where systemctl is today's
    std::vector<std::string> lost;       ///< so did it these, which cannot be started by hand

    /// Starts everything again: the services by the end target, then the dependents that do not run by themselves. Says
    /// in the log what does not run. `mayBeStopping`: stop jobs may be left, and refuse the first start. Whether the
    /// end target was started.
    bool Run(bool mayBeStopping) const;

    /// The same without the end target, in which they may not be.
    bool RunByName() const;

    /// Waits until systemd has no job left for the begin target and for the services. False when they cannot be listed,
    /// or there is still one after five minutes.
    bool WaitForJobs() const;

private:
    void StartDependents() const; ///< that do not run, and says what does not run then
};

} // namespace MERO::Systemd
