#include "core/errors.h"
#include "volume/full_plan.h"
#include "volume/volume_blockers.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <utility>

using namespace MERO::Systemd;

FullVolumeUnmountPlan MERO::Systemd::PlanOf(const VolumeStopSet& set)
{
    FullVolumeUnmountPlan plan;
    plan.blockers = FindVolumeBlockers(set);
    for (const auto& [unit, causes] : set.stops) {
        plan.stops.push_back({.unit = unit, .causes = causes});
    }
    for (const auto& [unit, takenBy] : set.dependents) {
        plan.dependents.push_back({.unit = unit, .takenBy = takenBy, .startsAgain = set.StartsAgain(unit)});
    }
    std::sort(plan.dependents.begin(), plan.dependents.end(),
              [](const PlannedDependent& one, const PlannedDependent& other) { return one.unit < other.unit; });
    plan.triggers = set.triggers;
    return plan;
}

bool MEROSystemdVolumeUnmountFullPlan(const std::vector<std::string>& vecVolumes, FullVolumeUnmountPlan& plan)
{
    VolumeStopSet set;
    if (!MERO_VALID(!vecVolumes.empty()) || !AreVolumes(vecVolumes) || !FindVolumeStops(vecVolumes, set)) {
        return false;
    }
    plan = PlanOf(set);
    return true;
}

bool MEROSystemdVolumeUnmountPlan(const std::vector<std::string>& vecVolumes, VolumeUnmountPlan& plan)
{
    FullVolumeUnmountPlan full;
    const bool planned = MEROSystemdVolumeUnmountFullPlan(vecVolumes, full);
    if (planned) {
        plan = std::move(full);
    }
    return planned;
}
