#define MERO_SOURCE_NAME "systemd_volume_unmount_action"
#include "volume/unmount_return.h"

#include "core/interruption.h"
#include "core/log.h"
#include "core/names.h"
#include "core/text.h"
#include "unit/unit_properties.h"

#include <merosystemd/systemd.hpp>

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

/// Starts the units that do not run. Those that do not run then either.
Texts StartThoseDown(const Texts& dependents, const UnitFactsTable& facts)
{
    Texts down, units, targets, failed;
    std::copy_if(dependents.begin(), dependents.end(), std::back_inserter(down),
                 [&](const std::string& unit) { return !Runs(unit, facts); });
    std::partition_copy(down.begin(), down.end(), std::back_inserter(targets), std::back_inserter(units),
                        StartsByItself);
    // systemctl queues them one by one, and a socket cannot be started once its service runs.
    std::stable_partition(units.begin(), units.end(),
                          [](const std::string& unit) { return UnitTypeGet(unit) != "service"; });
    const bool done =
        (units.empty() || MEROSystemdStart(units, failed)) &
        (targets.empty() || MEROSystemdStartWithOptions({"--job-mode=ignore-dependencies"}, targets, failed));
    UnitFactsTable then;
    if (done || !then.Ask(down)) {
        return failed;
    }
    std::erase_if(down, [&](const std::string& unit) { return Runs(unit, then); });
    return down;
}

} // namespace

UnmountReturn::UnmountReturn(const VolumeStopSet& set) : isOfToday(set.isOfToday)
{
    for (const auto& [unit, causes] : set.stops) {
        services.push_back(unit);
    }
    for (const auto& [unit, taker] : set.dependents) {
        (set.StartsAgain(unit) ? dependents : lost).push_back(unit);
    }
}

bool UnmountReturn::Run(bool mayBeStopping) const
{
    bool started = MEROSystemdStart(kEndTarget);
    if (!started && mayBeStopping) {
        // Nothing can replace the stop jobs that are left of a begin target that failed or was given up.
        started = WaitForJobs() && MEROSystemdStart(kEndTarget);
        if (!started) {
            MERO_LOG(LOG_ERR, "[%s] are still down after the unmounting.", Join(Down(services)).c_str());
        }
    }
    if (isOfToday) {
        StartDependents();
    }
    return started;
}

bool UnmountReturn::RunByName() const
{
    Texts failed;
    const bool started = services.empty() || (WaitForJobs() && MEROSystemdStart(services, failed));
    StartDependents();
    return started;
}

bool UnmountReturn::WaitForJobs() const
{
    const std::set<std::string> names = JobNames(services);
    for (int pass = 0; pass <= kMaxWait; ++pass) {
        std::map<std::uint32_t, JobInfo> jobs;
        if (!MEROSystemdIntJobList(jobs)) {
            return false;
        }
        if (std::none_of(jobs.begin(), jobs.end(), [&](const auto& job) { return names.contains(job.second.unit); })) {
            return true;
        }
        SleepOneSecond();
    }
    return false;
}

void UnmountReturn::StartDependents() const
{
    Texts all = services;
    all.insert(all.end(), dependents.begin(), dependents.end());
    all.insert(all.end(), lost.begin(), lost.end());
    UnitFactsTable facts;
    if (!facts.Ask(all)) {
        MERO_LOG(LOG_ERR, "systemd does not say whether [%s] run again.", Join(all).c_str());
        return;
    }
    const Texts failed = StartThoseDown(dependents, facts);
    for (const std::string& unit : services) {
        const UnitFacts* known = facts.Find(unit);
        if (known != nullptr && !known->IsRunning()) {
            MERO_LOG(LOG_ERR, "[%s] does not run after the unmounting: it is %s, its result is [%s].", unit.c_str(),
                     known->state.c_str(), known->result.c_str());
        }
    }
    for (const std::string& unit : failed) {
        MERO_LOG(LOG_ERR, "[%s] does not run after the unmounting: it stopped along, and its start failed.",
                 unit.c_str());
    }
    for (const std::string& unit : lost) {
        if (!Runs(unit, facts)) {
            MERO_LOG(LOG_WARNING, "[%s] stopped along, and cannot be started by hand.", unit.c_str());
        }
    }
}

} // namespace MERO::Systemd
