#include "diagnosis/verification.h"

#include "diagnosis/diagnosis.h"
#include "diagnosis/journal.h"
#include "diagnosis/report.h"
#include "output/command_error.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>
#include <thread>

namespace MERO::Tool {
namespace {

constexpr auto kTimeToDie = std::chrono::seconds(1);

using Properties = std::map<std::string, std::string>;

bool IsAs(Wanted wanted, Properties& before, Properties& unit)
{
    // A unit that systemd has restarted meanwhile died too; earlier restarts do not count.
    const bool hasDied = unit["ActiveState"] == "failed" || unit["SubState"] == "auto-restart" ||
                         unit["NRestarts"] != before["NRestarts"];
    const std::string& active = unit["ActiveState"];
    const bool isRunning = active == "active" || active == "reloading";
    const auto hasEndedWell = [&] {
        const std::optional<UnitEvent> event = LastEvent(unit["Id"]);
        return unit["Type"] == "oneshot" && active == "inactive" && unit["Result"] == "success" &&
               !(event && event->isSkipped);
    };
    switch (wanted) {
    case Wanted::Running:
        return !hasDied && (isRunning || hasEndedWell());
    case Wanted::NotFailed:
        return !hasDied;
    default:
        return active == "inactive" || active == "failed";
    }
}

/// The fault one second later.
std::string Fault(Wanted wanted, const std::string& active, const std::string& sub)
{
    if (wanted == Wanted::Stopped) {
        return "stopped, but one second later it was " + active + " (" + sub + ")";
    }
    const bool runs = active == "active" || active == "reloading";
    return active == "failed" ? "started, but it had failed one second later"
           : runs             ? "started, but systemd had to start it again within one second"
                              : "started, but one second later it was " + active + " (" + sub + ")";
}

} // namespace

std::vector<UnitResult> Verify(const Texts& units, const std::string& verb, Wanted wanted)
{
    std::map<std::string, Systemd::ShownUnit> before, after;
    (void)MEROSystemdShowProperties(units, {"NRestarts"}, before);
    std::this_thread::sleep_for(kTimeToDie);
    if (!MEROSystemdShowProperties(units, {"ActiveState", "SubState", "Type", "Result", "NRestarts"}, after)) {
        throw CommandError(kFailed, "verifying the " + verb + " failed: systemd does not answer");
    }
    std::vector<UnitResult> results;
    Texts ill;
    for (const std::string& unit : units) {
        Properties& state = after[unit].properties;
        results.push_back({.unit = unit});
        if (IsAs(wanted, before[unit].properties, state)) {
            continue;
        }
        results.back().code = kFailed;
        results.back().fault = Fault(wanted, state["ActiveState"], state["SubState"]);
        ill.push_back(unit);
    }
    const auto diagnoses = ill.empty() ? std::nullopt : Diagnose(ill);
    for (std::size_t i = 0; diagnoses && i < ill.size(); ++i) {
        const auto result =
            std::find_if(results.begin(), results.end(), [&](const UnitResult& one) { return one.unit == ill[i]; });
        result->causes = (*diagnoses)[i].causes;
        result->log = (*diagnoses)[i].log;
    }
    return results;
}

} // namespace MERO::Tool
