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

/// Returns the names under which systemd's jobs list the units and the begin target: ids, not only aliases.
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

/// Returns the units that do not run, for a log line. Works in both dialects.
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
        // A begin target that failed, or whose systemctl was killed, may leave stop jobs that nothing can replace.
        started = WaitForJobs() && MEROSystemdStart(kEndTarget);
        if (!started) {
            MERO_LOG(LOG_ERR, "[%s] are still down after the unmount.", Join(Down(services)).c_str());
        }
    }
    return started;
}

bool UnmountRestore::WaitForJobs() const
{
    std::set<std::string> names = JobNames(isCurrent ? units : services);
    std::string own; // if it is among them, its stop waits for us
    if (MEROSystemdGetByPid(getpid(), own)) {
        names.erase(own);
    }
    for (int pass = 0; pass <= kMaxWait; ++pass) {
        const bool isStopAsked = IsSystemctlRunning("start", kBeginTarget); // first: it queues the jobs
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
    return StartAgain(MERO_HERE, {.units = units, .lost = lost, .tried = services}, "the unmount").empty();
}

} // namespace MERO::Systemd
