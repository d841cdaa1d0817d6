#define MERO_SOURCE_NAME "systemd_volume_unmount_action"
#include "volume/unmount_return.h"

#include "core/interruption.h"
#include "core/log.h"
#include "core/text.h"
#include "unit/unit_properties.h"
#include "volume/process_files.h"
#include "volume/start_again.h"

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

/// Whether the begin target's systemctl runs: it goes on when its caller is killed, and may not have queued the stops
/// yet.
bool IsStopAsked()
{
    constexpr std::string_view kStart("/usr/bin/systemctl\0start\0", 25);
    bool isAsked = false;
    ProcessFiles files;
    files.ForEachProcess([&](const ProcessFolder& process) {
        const std::string_view arguments = files.CommandLine(process);
        isAsked = isAsked || (arguments.starts_with(kStart) && arguments.find(kBeginTarget) != arguments.npos);
    });
    return isAsked;
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

UnmountReturn::UnmountReturn(const VolumeStopSet& set) : isOfToday(set.isOfToday)
{
    for (const auto& [unit, causes] : set.stops) {
        services.push_back(unit);
    }
    for (const std::string& unit : set.startOrder) {
        (set.stops.contains(unit) || set.StartsAgain(unit) ? units : lost).push_back(unit);
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
        (void)StartUnits();
    }
    return started;
}

bool UnmountReturn::RunByName() const
{
    return units.empty() || (WaitForJobs() && StartUnits());
}

bool UnmountReturn::WaitForJobs() const
{
    const std::set<std::string> names = JobNames(services);
    for (int pass = 0; pass <= kMaxWait; ++pass) {
        const bool isStopAsked = IsStopAsked(); // before the jobs, which it makes
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
    return StartAgain(MERO_HERE, {.units = units, .lost = lost, .tried = services}, "the unmounting").empty();
}

} // namespace MERO::Systemd
