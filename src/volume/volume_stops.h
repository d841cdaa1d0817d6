#pragma once

#include <merosystemd/volume.hpp>

#include <map>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// The units that stop while volumes are unmounted, by name, and why.
using VolumeStops = std::map<std::string, std::vector<StopCause>>;

/// Whether all of them are mount paths: they begin with "/" and do not end with it. If not, the error register is set
/// to 0x0D00.
bool AreVolumes(const std::vector<std::string>& volumes);

/// Finds out what stops, and changes nothing. False when the units cannot be listed. A volume whose users cannot be
/// found, and a unit that cannot be asked, are logged and passed over.
bool FindVolumeStops(const std::vector<std::string>& volumes, VolumeStops& stops);

} // namespace MERO::Systemd
