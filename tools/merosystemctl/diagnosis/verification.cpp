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

/// A service that ended and was started again by systemd has died too: systemd counts from the last start that was
/// asked for.
bool HasDied(const UnitProperties& unit)
{
    return unit["ActiveState"] == "failed" || unit["SubState"] == "auto-restart" ||
           (!unit["NRestarts"].empty() && unit["NRestarts"] != "0");
}

bool IsAs(Wanted wanted, const UnitProperties& unit)
{
    const std::string& active = unit["ActiveState"];
    const bool isRunning = active == "active" || active == "reloading";
    const auto hasEndedWell = [&] {
        const std::optional<UnitEvent> event = LastEvent(unit["Id"]);
        return unit["Type"] == "oneshot" && active == "inactive" && unit["Result"] == "success" &&
               !(event && event->isSkipped);
    };
    switch (wanted) {
    case Wanted::Running:
        return !HasDied(unit) && (isRunning || hasEndedWell());
    case Wanted::NotFailed:
        return !HasDied(unit);
    default:
        return active == "inactive" || active == "failed";
    }
}

} // namespace

int Verify(const Texts& units, const std::string& verb, Wanted wanted)
{
    std::this_thread::sleep_for(kTimeToDie);
    const std::vector<UnitProperties> states = AskProperties(units, "Id,ActiveState,SubState,Type,Result,NRestarts");
    if (states.empty()) {
        return ReportFailure("verifying the " + verb);
    }
    int code = kDone;
    for (std::size_t i = 0; i < units.size(); ++i) {
        if (IsAs(wanted, states[i])) {
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
