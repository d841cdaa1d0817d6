#include "diagnosis/diagnosis.h"

#include "diagnosis/holds.h"
#include "diagnosis/journal.h"
#include "diagnosis/unit_properties.h"
#include "output/text_width.h"
#include "output/words.h"

#include <merosystemd/systemd.hpp>

#include <sys/wait.h>

#include <algorithm>
#include <cstring>
#include <ostream>
#include <set>
#include <utility>

namespace MERO::Tool {
namespace {

constexpr int kLogLines = 5;
constexpr const char* kProperties =
    "Id,LoadState,LoadError,UnitFileState,ActiveState,SubState,StateChangeTimestamp,Result,ExecMainCode,"
    "ExecMainStatus,Job,TriggeredBy,Requires,Requisite,BindsTo,Conflicts,ConflictedBy";
const std::string kTool = "merosystemctl ";
const std::string kUnmountTarget = "unmount-volume-begin.target"; // conflicts with the services that it stops

bool Runs(const UnitProperties& unit)
{
    return unit["ActiveState"] == "active" || unit["ActiveState"] == "reloading";
}

/// How the main process ended; empty when it did not, or ended well.
std::string ProcessEnd(const UnitProperties& unit)
{
    const int code = std::atoi(unit["ExecMainCode"].c_str());
    const int status = std::atoi(unit["ExecMainStatus"].c_str());
    if (code == CLD_EXITED && status != 0) {
        return ": its main process ended with exit code " + std::to_string(status);
    }
    const char* signal = code == CLD_KILLED || code == CLD_DUMPED ? sigabbrev_np(status) : nullptr;
    return signal != nullptr ? std::string(": its main process was ended by SIG") + signal : "";
}

/// A unit's failure, in a word of systemd's and how its process ended.
std::string FailureText(const UnitProperties& unit)
{
    return "result " + (unit["Result"].empty() ? "unknown" : unit["Result"]) + ProcessEnd(unit);
}

void AddUnitFileState(const UnitProperties& unit, std::vector<Cause>& causes)
{
    const std::string& name = unit["Id"];
    const std::string& state = unit["UnitFileState"];
    if (unit["LoadState"] == "masked") {
        const std::string options = state == "masked-runtime" ? "--runtime " : "";
        causes.push_back({"masked", "it cannot be started", kTool + "unmask " + options + name});
    } else if (unit["LoadState"] != "loaded" && unit["LoadState"] != "merged" && unit["LoadState"] != "stub") {
        causes.push_back({"unit file", unit["LoadState"] + ": " + unit["LoadError"], "systemd-analyze verify " + name});
    } else if (state == "disabled") {
        causes.push_back({"disabled", "it is not started at boot", kTool + "enable " + name});
    } else if (!unit["TriggeredBy"].empty()) {
        causes.push_back({"triggered", "it is started by " + unit["TriggeredBy"] + ", when that wants it", ""});
    }
}

void AddJob(const UnitProperties& unit, std::vector<Cause>& causes)
{
    Systemd::JobInfo job;
    if (!unit["Job"].empty() && MEROSystemdIntJobGet(unit["Id"], job)) {
        causes.push_back(
            {"job", std::string(TypeWord(job.type)) + " " + StateWord(job.state) + ", number " + std::to_string(job.id),
             job.state == Systemd::JobState::Waiting ? "systemctl list-jobs --after " + unit["Id"] : ""});
    }
}

void AddFailure(const UnitProperties& unit, std::vector<Cause>& causes)
{
    if (unit["ActiveState"] == "failed" || (!unit["Result"].empty() && unit["Result"] != "success")) {
        const bool oftenEnough = unit["Result"] == "start-limit-hit";
        causes.push_back({"failed", FailureText(unit),
                          oftenEnough ? kTool + "reset-failed " + unit["Id"] : "journalctl --unit=" + unit["Id"]});
    }
}

/// Whether `relative`, which the unit must have running, is why the unit does not: it failed, or cannot be started.
bool IsInTheWay(const UnitProperties& relative)
{
    return relative["ActiveState"] == "failed" ||
           (relative["ActiveState"] == "inactive" && relative["LoadState"] != "loaded");
}

Texts Together(const UnitProperties& unit, std::initializer_list<const char*> lists)
{
    Texts names;
    for (const char* list : lists) {
        const Texts some = unit.List(list);
        names.insert(names.end(), some.begin(), some.end());
    }
    return names;
}

/// Looks for a failed unit among those that the unit requires, and those that these do.
void AddDependencies(const UnitProperties& unit, std::vector<Cause>& causes)
{
    std::set<std::string> seen{unit["Id"]};
    for (Texts wanted = Together(unit, {"Requires", "Requisite", "BindsTo"}); !wanted.empty();) {
        std::erase_if(wanted, [&](const std::string& name) { return !seen.insert(name).second; });
        Texts next;
        for (const UnitProperties& needed :
             wanted.empty() ? std::vector<UnitProperties>() : AskProperties(wanted, kProperties)) {
            if (IsInTheWay(needed)) {
                const bool failed = needed["ActiveState"] == "failed";
                causes.push_back(
                    {"dependency",
                     needed["Id"] + " " + (failed ? "failed, " + FailureText(needed) : "is " + needed["LoadState"]),
                     kTool + "why " + needed["Id"]});
            } else if (needed["ActiveState"] == "inactive") {
                const Texts deeper = Together(needed, {"Requires", "Requisite", "BindsTo"});
                next.insert(next.end(), deeper.begin(), deeper.end());
            }
        }
        wanted = next;
    }
}

void AddUnmount(std::vector<Cause>& causes)
{
    const bool isKnown =
        std::any_of(causes.begin(), causes.end(), [](const Cause& cause) { return cause.kind == "volume"; });
    if (!isKnown) {
        causes.push_back({"volume", "stopped while a volume is being unmounted; it will be restarted afterwards", ""});
    }
}

/// What an unmount has stopped itself, or along with something else.
void AddRecordedUnmount(const std::string& unit, std::vector<Cause>& causes)
{
    using Systemd::VolumeUnmountState;
    VolumeUnmountState state;
    if (!MEROSystemdVolumeUnmountStateGet(state) ||
        std::find(state.units.begin(), state.units.end(), unit) == state.units.end()) {
        return;
    }
    if (state.kind == VolumeUnmountState::Kind::Running) {
        AddUnmount(causes);
    } else {
        causes.push_back({"volume", "stopped by an unmount of " + ToCell(state.volumes) + " that was interrupted",
                          kTool + "volume recover"});
    }
}

void AddConflicts(const UnitProperties& unit, std::vector<Cause>& causes)
{
    const Texts others = Together(unit, {"Conflicts", "ConflictedBy"});
    for (const UnitProperties& other :
         others.empty() ? std::vector<UnitProperties>() : AskProperties(others, "Id,ActiveState")) {
        if (other["ActiveState"] != "active" && other["ActiveState"] != "activating") {
            continue;
        }
        if (other["Id"] == kUnmountTarget) {
            AddUnmount(causes);
        } else {
            causes.push_back({"conflict", other["Id"] + " runs", kTool + "stop " + other["Id"]});
        }
    }
}

void AddMachineState(const std::string& unit, std::vector<Cause>& causes)
{
    Systemd::IsolateState isolation;
    if (MEROSystemdIsolateStateGet(isolation) && isolation.isolating) {
        causes.push_back({"isolation", "the machine is being isolated to " + isolation.target, ""});
    }
    bool supported = true;
    if (MEROSystemdIsSupportGet(unit, supported) && !supported) {
        causes.push_back({"support", "this machine lacks the capability that it is made for", ""});
    }
}

void AddLastEvent(const std::string& unit, std::vector<Cause>& causes)
{
    const std::optional<UnitEvent> event = LastEvent(unit);
    const bool isKnown = std::any_of(causes.begin(), causes.end(), [&](const Cause& cause) {
        return event && event->isDependency && cause.kind == "dependency";
    });
    if (event && !isKnown) {
        causes.push_back({event->isSkipped ? "condition" : "last event", event->time + ": " + event->message, ""});
    }
}

} // namespace

std::optional<Diagnosis> Diagnose(const std::string& name)
{
    const std::vector<UnitProperties> answer = AskProperties({name}, kProperties);
    if (answer.empty()) {
        return std::nullopt;
    }
    const UnitProperties& unit = answer.front();
    Diagnosis diagnosis{
        unit["Id"], unit["LoadState"], unit["ActiveState"], unit["SubState"], unit["StateChangeTimestamp"], {}, {}};
    if (diagnosis.load == LoadWord(MERO_SYSTEMD_LOAD_STATUS_NOT_FOUND)) {
        return diagnosis;
    }
    std::vector<Cause>& causes = diagnosis.causes = HoldsOf(diagnosis.unit);
    AddJob(unit, causes);
    if (Runs(unit)) {
        return diagnosis;
    }
    AddRecordedUnmount(diagnosis.unit, causes);
    AddConflicts(unit, causes);
    AddMachineState(diagnosis.unit, causes);
    AddFailure(unit, causes);
    AddDependencies(unit, causes);
    AddUnitFileState(unit, causes);
    AddLastEvent(diagnosis.unit, causes);
    diagnosis.log = LastLines(diagnosis.unit, kLogLines);
    return diagnosis;
}

void PrintCauses(std::ostream& stream, const Diagnosis& diagnosis, const std::string& indentation)
{
    constexpr std::size_t kColumn = 12; // behind the longest word
    constexpr std::size_t kWidth = 80;
    const std::string blanks(kColumn, ' ');
    for (const Cause& cause : diagnosis.causes) {
        std::string before = cause.kind + blanks.substr(cause.kind.size());
        for (const std::string& line : WrapWords(cause.text, kWidth - kColumn - indentation.size())) {
            stream << indentation << std::exchange(before, blanks) << line << '\n';
        }
        if (!cause.remedy.empty()) {
            stream << indentation << blanks << "-> " << cause.remedy << '\n'; // whole, to be copied
        }
    }
    for (const std::string& line : diagnosis.log) {
        stream << indentation << line << '\n';
    }
}

} // namespace MERO::Tool
