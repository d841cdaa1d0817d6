#pragma once

#include "volume/volume_stops.h"

namespace MERO::Systemd {

/// What keeps the volumes busy although the units of `stops`, and those that are the causes of them, stop. A process is
/// named with the first of its files that was found.
std::vector<VolumeBlocker> FindVolumeBlockers(const std::vector<std::string>& volumes, const VolumeStops& stops);

} // namespace MERO::Systemd
