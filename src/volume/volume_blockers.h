#pragma once

#include "volume/volume_stops.h"

namespace MERO::Systemd {

/// Returns what would keep the volumes busy after the stop set, and the units that caused it, have stopped. Names a
/// process with the first of its files found. Leaves out the calling process.
std::vector<VolumeBlocker> FindVolumeBlockers(const VolumeStopSet& set);

} // namespace MERO::Systemd
