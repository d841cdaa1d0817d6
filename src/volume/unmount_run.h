#pragma once

#include "volume/unmount_record.h"
#include "volume/volume_stops.h"

#include <functional>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// Stops the services of the stop set, runs `action`, and starts everything again whatever happened; an exception from
/// the action is passed on afterwards. A watcher shares `locks`, the descriptors of the held locks, and restores the
/// services if the caller is killed. In the current dialect a record outlives both. Returns whether all succeeded.
bool RunUnmount(const std::vector<std::string>& volumes, const VolumeStopSet& set, const std::vector<int>& locks,
                const std::function<bool()>& action);

/// Starts what an interrupted unmount has left stopped, except what is held or gone, and removes the record.
bool FinishInterruptedUnmount(UnmountRecord record);

} // namespace MERO::Systemd
