#define MERO_SOURCE_NAME "systemd_volume_unmount_action"
#include "volume/unmount_restore.h"

#include "core/interruption.h"
#include "core/log.h"
#include "core/text.h"
#include "recovery/left_over_systemctl.h"
#include "unit/unit_properties.h"
#include "volume/start_again.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <set>

namespace MERO::Systemd {
namespace {

constexpr int kMaxWait = 300; // seconds

/// The units with the names that systemd's jobs give them: not their aliases.
std::set<std::string> JobNames(const Texts& units)
{
    std::set<std::string> names(units.begin(), units.end());
    names.insert(kBeginTarget);
    const auto shown = ShowUnits(units, {"Id"});
    for (const UnitProperties& unit : shown ? *shown : std::vector<UnitProperties>()) {
        const auto id = unit.find("Id");
        if (id != unit.end()) {
            names.insert(id->second);
        }
    }
    return names;
}

/// Those of the units that do not run, for one line of the log in any dialect.
Texts Down(const Texts& units)
{
    Texts down;
    std::copy_if(units.begin(), units.end(), std::back_inserter(down), [](const std::string& unit) {
        return MEROSystemdActiveStatusGet(unit) != MERO_SYSTEMD_ACTIVE_STATUS_ACTIVE;
    });
    return down;
}

} // namespace

UnmountRestore::UnmountRestore(const VolumeStopSet& set) : isCurrent(set.isCurrent)
{
    for (const auto& [unit, causes] : set.stops) {
        services.push_back(unit);
    }
    for (const std::string& unit : set.startOrder) {
        (set.stops.contains(unit) || set.StartsAgain(unit) ? units : lost).push_back(unit);
    }
}

bool UnmountRestore::StartEndTarget(bool mayBeStopping) const
{
    bool started = MEROSystemdStart(kEndTarget);
    if (!started && mayBeStopping) {
        // Nothing can replace the stop jobs that are left of a begin target that failed or was given up.
        started = WaitForJobs() && MEROSystemdStart(kEndTarget);
        if (!started) {
            MERO_LOG(LOG_ERR, "[%s] are still down after the unmounting.", Join(Down(services)).c_str());
        }
    }
    return started;
}

bool UnmountRestore::WaitForJobs() const
{
    std::set<std::string> names = JobNames(isCurrent ? units : services);
    std::string own; // if it is one of them, its stop waits for us
    if (MEROSystemdGetByPid(getpid(), own)) {
        names.erase(own);
    }
    for (int pass = 0; pass <= kMaxWait; ++pass) {
        const bool isStopAsked = IsSystemctlRunning("start", kBeginTarget); // before the jobs, which it queues
        std::map<std::uint32_t, JobInfo> jobs;
        if (!MEROSystemdIntJobList(jobs)) {
            return false;
        }
        const auto isAwaited = [&](const auto& job) { return names.contains(job.second.unit); };
        if (std::none_of(jobs.begin(), jobs.end(), isAwaited) && !isStopAsked) {
            return true;
        }
        SleepOneSecond();
    }
    return false;
}

bool UnmountRestore::StartUnits() const
{
    return StartAgain(MERO_HERE, {.units = units, .lost = lost, .tried = services}, "the unmounting").empty();
}

} // namespace MERO::Systemd
