#pragma once

#include "volume/dependents.h"

#include <merosystemd/volume.hpp>

#include <map>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// The units that stop for an unmount, by name, and why.
using VolumeStops = std::map<std::string, std::vector<StopCause>>;

/// The stop set: all that stops for an unmount.
struct VolumeStopSet {
    /// Whether a dependent can be started by hand and is no mount at or below the volumes.
    bool StartsAgain(const std::string& dependent) const;

    bool isCurrent = false;           ///< whether systemctl speaks the current dialect
    std::vector<std::string> volumes; ///< in the current dialect also what links among them lead to
    VolumeStops stops;

    // Empty in the classic dialect:
    std::vector<Dependent> dependents;   ///< running units that systemd stops along with those
    std::vector<std::string> startOrder; ///< both, each after the units that it depends on, as Requisite= needs it
    std::vector<VolumeTrigger> triggers;
    UnitFactsTable facts;
};

/// Whether all of these can be mount paths: each begins with "/" and does not end with it. If not, sets the error
/// register to 0x0D00.
bool AreVolumes(const std::vector<std::string>& volumes);

/// Finds out what would stop; changes nothing. Returns false if the units cannot be listed or the dialect cannot be
/// read. Logs and skips a volume whose users cannot be found, and a unit that cannot be asked.
bool FindVolumeStops(const std::vector<std::string>& volumes, VolumeStopSet& set);

} // namespace MERO::Systemd
