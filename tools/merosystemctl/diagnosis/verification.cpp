#include "diagnosis/verification.h"

#include "diagnosis/diagnosis.h"
#include "diagnosis/journal.h"
#include "diagnosis/report.h"
#include "diagnosis/unit_properties.h"

#include <chrono>
#include <iostream>
#include <thread>

namespace MERO::Tool {
namespace {

constexpr auto kTimeToDie = std::chrono::seconds(1);

bool IsAs(Wanted wanted, const UnitProperties& before, const UnitProperties& unit)
{
    // One that systemd started again meanwhile has died too; restarts of former days do not count.
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

} // namespace

int Verify(const Texts& units, const std::string& verb, Wanted wanted)
{
    const std::vector<UnitProperties> before = AskProperties(units, "NRestarts");
    std::this_thread::sleep_for(kTimeToDie);
    const std::vector<UnitProperties> states = AskProperties(units, "Id,ActiveState,SubState,Type,Result,NRestarts");
    if (before.empty() || states.empty()) {
        return ReportFailure("verifying the " + verb);
    }
    int code = kDone;
    for (std::size_t i = 0; i < units.size(); ++i) {
        if (IsAs(wanted, before[i], states[i])) {
            continue;
        }
        code = kFailed;
        PrintError(units[i] + ": " + verb + " was done, but a second later the unit is " + states[i]["ActiveState"] +
                   " (" + states[i]["SubState"] + ")");
        if (const std::optional<Diagnosis> diagnosis = Diagnose(units[i])) {
            PrintCauses(std::cerr, *diagnosis, "  ");
        }
    }
    return code;
}

} // namespace MERO::Tool
