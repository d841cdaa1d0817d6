#include "running/unit_action.h"

#include "diagnosis/unit_names.h"
#include "output/words.h"
#include "running/general_options.h"
#include "running/watched_work.h"

#include <algorithm>
#include <iostream>

namespace MERO::Tool {
namespace {

void PrintAsTheyAre(const Texts& warnings)
{
    for (const std::string& line : General().quiet ? Texts() : warnings) {
        std::cerr << line << '\n';
    }
}

/// The result for a unit once the wait for its job has been ended.
UnitResult LeftQueued(const std::string& unit, const std::map<std::string, Systemd::JobInfo>& jobs)
{
    const auto job = jobs.find(WholeName(unit));
    UnitResult result{.unit = unit, .code = kTimedOut};
    result.fault = "not done after " + std::to_string(General().timeout) + " s; ";
    if (job == jobs.end()) {
        result.fault += "systemd has no job for this name now";
    } else {
        result.fault += "its job stays queued";
        result.causes.push_back({"job",
                                 std::string(TypeWord(job->second.type)) + " " + StateWord(job->second.state) +
                                     ", number " + std::to_string(job->second.id),
                                 "merosystemctl jobs"});
    }
    return result;
}

std::vector<UnitResult> ExplainTimeout(const UnitAction& action, const Texts& failed)
{
    std::map<std::uint32_t, Systemd::JobInfo> queue;
    (void)MEROSystemdIntJobList(queue);
    std::map<std::string, Systemd::JobInfo> jobs;
    for (const auto& [id, job] : queue) {
        jobs[job.unit] = job;
    }
    const bool isAnyKnown = std::any_of(action.units.begin(), action.units.end(),
                                        [&](const std::string& unit) { return jobs.contains(WholeName(unit)); });
    std::vector<UnitResult> results;
    for (const std::string& unit : action.units) {
        const bool hasFailed = std::find(failed.begin(), failed.end(), unit) != failed.end();
        const bool isLeft = hasFailed || !isAnyKnown || jobs.contains(WholeName(unit));
        results.push_back(isLeft ? LeftQueued(unit, jobs) : UnitResult{.unit = unit});
    }
    return results;
}

} // namespace

std::vector<UnitResult> RunUnitAction(const UnitAction& action)
{
    SystemctlWords words;
    Texts failed;
    const WatchedWork work = Watch(Title(action.verb, action.units),
                                   [&](Progress&) { return action.run(action.units, failed, words.Listener()); });
    PrintAsTheyAre(words.Warnings());
    if (work.timedOut) {
        return ExplainTimeout(action, failed);
    }
    if (!work.done) {
        return ExplainFailure({.verb = action.verb,
                               .units = action.units,
                               .failed = failed,
                               .error = work.error,
                               .diagnoses = action.diagnoses,
                               .needsManager = action.needsManager},
                              words);
    }
    std::vector<UnitResult> results;
    for (const std::string& unit : action.units) {
        results.push_back({.unit = unit});
    }
    return results;
}

std::string Title(const std::string& verb, const Texts& units)
{
    constexpr std::size_t kFew = 3;
    return verb + " " + (units.size() <= kFew ? ToCell(units) : std::to_string(units.size()) + " units");
}

} // namespace MERO::Tool
