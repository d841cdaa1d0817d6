#pragma once

#include "volume/unmount_record.h"
#include "volume/volume_stops.h"

#include <functional>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// Stops what the set names, runs `action`, and starts all of it again, whatever came of it. What the action throws is
/// passed on after that. A watcher shares `locks`, the descriptors of those that are held, and goes back for a caller
/// that is killed; where systemctl is today's a record outlives both. Whether all succeeded.
bool RunUnmount(const std::vector<std::string>& volumes, const VolumeStopSet& set, const std::vector<int>& locks,
                const std::function<bool()>& action);

/// Starts what an interrupted unmounting has left stopped, but what is held or gone. The record is done with then.
bool FinishInterruptedUnmount(UnmountRecord record);

} // namespace MERO::Systemd
