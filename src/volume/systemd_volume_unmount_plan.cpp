#include "core/errors.h"
#include "volume/volume_blockers.h"
#include "volume/volume_stops.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdVolumeUnmountPlan(const std::vector<std::string>& vecVolumes, VolumeUnmountPlan& plan)
{
    VolumeStops stops;
    if (!MERO_VALID(!vecVolumes.empty()) || !AreVolumes(vecVolumes) || !FindVolumeStops(vecVolumes, stops)) {
        return false;
    }
    plan = VolumeUnmountPlan();
    plan.blockers = FindVolumeBlockers(vecVolumes, stops);
    for (auto& [unit, causes] : stops) {
        plan.stops.push_back({.unit = unit, .causes = std::move(causes)});
    }
    return true;
}
