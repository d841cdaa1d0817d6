#pragma once

#include "volume/volume_stops.h"

namespace MERO::Systemd {

/// The set as its plan shows it, with what is in the way.
FullVolumeUnmountPlan PlanOf(const VolumeStopSet& set);

} // namespace MERO::Systemd
