#define MERO_SOURCE_NAME "systemd_volume_unmount_action"
#include "volume/unmount_return.h"

#include "core/interruption.h"
#include "core/log.h"
#include "core/names.h"
#include "core/text.h"
#include "recovery/left_over_systemctl.h"
#include "unit/unit_properties.h"

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

/// A target's start would start all that it wants, and a slice's has no use for that either.
bool StartsByItself(const std::string& unit)
{
    const std::string type = UnitTypeGet(unit);
    return type == "target" || type == "slice";
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

bool Runs(const std::string& unit, const UnitFactsTable& facts)
{
    const UnitFacts* known = facts.Find(unit);
    return known != nullptr && known->IsRunning();
}

/// Starts units in their order, and targets and slices after them.
void Start(const Texts& down)
{
    Texts units, targets, failed;
    std::partition_copy(down.begin(), down.end(), std::back_inserter(targets), std::back_inserter(units),
                        StartsByItself);
    // systemctl queues them one by one, and a socket cannot be started once its service runs.
    std::stable_partition(units.begin(), units.end(),
                          [](const std::string& unit) { return UnitTypeGet(unit) != "service"; });
    if (!units.empty()) {
        (void)MEROSystemdStart(units, failed);
    }
    if (!targets.empty()) {
        (void)MEROSystemdStartWithOptions({"--job-mode=ignore-dependencies"}, targets, failed);
    }
}

} // namespace

UnmountReturn::UnmountReturn(const VolumeStopSet& set) : isOfToday(set.isOfToday)
{
    for (const auto& [unit, causes] : set.stops) {
        services.push_back(unit);
    }
    for (const std::string& unit : set.startOrder) {
        (set.stops.contains(unit) || set.StartsAgain(unit) ? units : lost).push_back(unit);
    }
}

bool UnmountReturn::StartEndTarget(bool mayBeStopping) const
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

bool UnmountReturn::WaitForJobs() const
{
    std::set<std::string> names = JobNames(isOfToday ? units : services);
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

bool UnmountReturn::StartUnits() const
{
    Texts all = units;
    all.insert(all.end(), lost.begin(), lost.end());
    UnitFactsTable facts;
    if (!facts.Ask(all)) {
        MERO_LOG(LOG_ERR, "systemd does not say whether [%s] run again.", Join(all).c_str());
        return false;
    }
    std::erase_if(all, [&](const std::string& unit) { return facts.Find(unit) == nullptr || Runs(unit, facts); });
    // What the end target has tried is not tried again, unless it may have waited for one of the others.
    const auto wasTried = [&](const std::string& unit) {
        return std::find(services.begin(), services.end(), unit) != services.end();
    };
    Texts down;
    std::copy_if(all.begin(), all.end(), std::back_inserter(down),
                 [&](const std::string& unit) { return std::find(lost.begin(), lost.end(), unit) == lost.end(); });
    if (!std::all_of(down.begin(), down.end(), wasTried)) {
        Start(down);
        facts = UnitFactsTable();
        (void)facts.Ask(all);
    }
    for (const std::string& unit : all) {
        const UnitFacts* known = facts.Find(unit);
        if (known != nullptr && !known->IsRunning()) {
            MERO_LOG(LOG_ERR, "[%s] does not run after the unmounting: it is %s, its result is [%s]%s.", unit.c_str(),
                     known->state.c_str(), known->result.c_str(),
                     std::find(lost.begin(), lost.end(), unit) != lost.end() ? ", and it cannot be started by hand"
                                                                             : "");
        }
    }
    return std::all_of(all.begin(), all.end(), [&](const std::string& unit) { return Runs(unit, facts); });
}

} // namespace MERO::Systemd
