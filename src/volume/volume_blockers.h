#pragma once

#include "volume/volume_stops.h"

namespace MERO::Systemd {

/// What keeps the volumes busy although all that the set names stops, and the causes of it. A process is named with the
/// first of its files that was found; the calling one is left out.
std::vector<VolumeBlocker> FindVolumeBlockers(const VolumeStopSet& set);

} // namespace MERO::Systemd
