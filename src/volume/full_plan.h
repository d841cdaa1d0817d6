#pragma once

#include "volume/volume_stops.h"

namespace MERO::Systemd {

/// Returns the plan for a stop set, including the blockers.
FullVolumeUnmountPlan PlanOf(const VolumeStopSet& set);

} // namespace MERO::Systemd
