#pragma once

#include "volume/dependents.h"

#include <merosystemd/volume.hpp>

#include <map>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// The units that stop while volumes are unmounted, by name, and why.
using VolumeStops = std::map<std::string, std::vector<StopCause>>;

/// All that goes down while volumes are unmounted.
struct VolumeStopSet {
    /// Whether a unit that stops along can and may be started again.
    bool StartsAgain(const std::string& dependent) const;

    bool isCurrent = false;           ///< whether systemctl speaks the dialect of today
    std::vector<std::string> volumes; ///< with what links among them lead to, if it is of today
    VolumeStops stops;

    // Empty unless it is of today:
    std::vector<Dependent> dependents;   ///< running units that systemd stops along
    std::vector<std::string> startOrder; ///< both, each after those that it depends on: Requisite= wants that
    std::vector<VolumeTrigger> triggers;
    UnitFactsTable facts;
};

/// Whether all of them are mount paths: they begin with "/" and do not end with it. If not, the error register is set
/// to 0x0D00.
bool AreVolumes(const std::vector<std::string>& volumes);

/// Finds out what stops, and changes nothing. False when the units cannot be listed. A volume whose users cannot be
/// found, and a unit that cannot be asked, are logged and passed over.
bool FindVolumeStops(const std::vector<std::string>& volumes, VolumeStopSet& set);

} // namespace MERO::Systemd
