#include "diagnosis/diagnosis.h"

#include "diagnosis/dependencies.h"
#include "diagnosis/failure.h"
#include "diagnosis/holds.h"
#include "diagnosis/isolation.h"
#include "diagnosis/jobs.h"
#include "diagnosis/journal.h"
#include "diagnosis/unit_properties.h"
#include "output/text_width.h"
#include "output/words.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <iterator>
#include <ostream>
#include <sstream>
#include <utility>

namespace MERO::Tool {
namespace {

constexpr std::size_t kOwnLines = 5, kSystemdLines = 5;        // of the unit
constexpr std::size_t kDependencyLines = 3, kOfDependency = 1; // of each dependency
const std::string kTool = "merosystemctl ";
const std::string kUnmountTarget = "unmount-volume-begin.target"; // conflicts with the services that an unmount stops

// Targets that show which state the machine is in.
const std::string kDefaultTarget = "default.target";
const Texts kMachine{"rescue.target", "emergency.target", kDefaultTarget};

const std::string& DiagnosedProperties()
{
    static const std::string properties = Dependencies::Properties() +
                                          ",LoadError,UnitFileState,StateChangeTimestamp,TriggeredBy,RefuseManualStart,"
                                          "RequiredBy,WantedBy,NeedDaemonReload";
    return properties;
}

/// Facts about all units together.
struct Facts {
    std::vector<UnitProperties> units;
    Jobs jobs;
    std::vector<JournalEntry> journal;
    std::optional<Cause> isolation;
};

void AddUnitFileState(const UnitProperties& unit, std::vector<Cause>& causes)
{
    const std::string& name = unit["Id"];
    const std::string& state = unit["UnitFileState"];
    if (unit["LoadState"] == "masked") {
        const std::string options = state == "masked-runtime" ? "--runtime " : "";
        causes.push_back({"masked", "it cannot be started", kTool + "unmask " + options + name});
    } else if (unit["LoadState"] != "loaded" && unit["LoadState"] != "merged" && unit["LoadState"] != "stub") {
        causes.push_back({"unit file", unit["LoadState"] + ": " + unit["LoadError"], "systemd-analyze verify " + name});
    } else if (unit["RefuseManualStart"] == "yes") {
        Texts starters = unit.List("RequiredBy"), wanting = unit.List("WantedBy");
        starters.insert(starters.end(), wanting.begin(), wanting.end());
        causes.push_back({"refused",
                          "it cannot be started by hand (RefuseManualStart=yes)" +
                              (starters.empty() ? "" : "; it starts with " + ToCell(starters)),
                          ""});
    } else if (!unit["TriggeredBy"].empty()) {
        causes.push_back({"triggered", "started on demand by " + ToCell(unit.List("TriggeredBy")), ""});
    } else if (state == "disabled") {
        causes.push_back({"disabled", "it is not started at boot", kTool + "enable " + name});
    }
}

void AddChangedFiles(const UnitProperties& unit, std::vector<Cause>& causes)
{
    if (unit["NeedDaemonReload"] == "yes") {
        causes.push_back({"changed", "its files have changed since systemd read them", kTool + "daemon-reload"});
    }
}

void AddJob(const UnitProperties& unit, const Jobs& jobs, std::vector<Cause>& causes)
{
    if (const Systemd::JobInfo* job = FindJob(jobs, unit)) {
        causes.push_back(
            {"job",
             std::string(TypeWord(job->type)) + " " + StateWord(job->state) + ", number " + std::to_string(job->id),
             job->state == Systemd::JobState::Waiting ? "systemctl list-jobs --after " + unit["Id"] : ""});
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

/// Adds a cause if an unmount stopped the unit or took it down along with another.
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

void AddConflicts(const UnitProperties& unit, const Dependencies& dependencies, std::vector<Cause>& causes)
{
    for (const UnitProperties* other : dependencies.ConflictsOf(unit)) {
        const std::string& name = (*other)["Id"];
        if (name == kUnmountTarget) {
            AddUnmount(causes);
        } else {
            causes.push_back({"conflict", name + " is running", kTool + "stop " + name, name});
        }
    }
}

bool WasLeft(const UnitProperties& target)
{
    return target["ActiveState"] == "inactive" && target["Job"].empty() &&
           std::atoll(target["ActiveExitTimestampMonotonic"].c_str()) > 0;
}

/// A machine that was isolated to another target has stopped most services and starts none.
void AddMachineState(const Facts& facts, const Dependencies& dependencies, std::vector<Cause>& causes)
{
    if (facts.isolation) {
        causes.push_back(*facts.isolation);
        return;
    }
    const std::string back = kTool + "isolate default.target";
    for (const std::string& name : kMachine) {
        const UnitProperties* target = dependencies.Find(name);
        if (target == nullptr) {
            continue;
        }
        const std::string& id = (*target)["Id"];
        if (name != kDefaultTarget && (*target)["ActiveState"] == "active") {
            causes.push_back({"isolation", "the machine is in " + id, back, id});
            return;
        }
        if (name == kDefaultTarget && WasLeft(*target)) {
            causes.push_back({"isolation", "the machine has left " + id + ", its default target", back, id});
            return;
        }
    }
}

void AddSupport(const std::string& unit, std::vector<Cause>& causes)
{
    bool supported = true;
    if (MEROSystemdIsSupportGet(unit, supported) && !supported) {
        causes.push_back({"support", "not supported on this platform", ""});
    }
}

/// Adds that the last start was skipped. Other events appear in the log.
void AddCondition(const UnitProperties& unit, Diagnosis& diagnosis, const std::vector<JournalEntry>& journal)
{
    const std::optional<UnitEvent> event = LastEvent(journal, diagnosis.unit);
    if (!event || !event->isSkipped) {
        return;
    }
    const std::string& command = unit["ExecCondition"];
    const std::size_t path = command.find("path=");
    diagnosis.causes.push_back(
        {"condition",
         event->isCommand && path != command.npos
             ? "skipped: ExecCondition" + command.substr(path + 4, command.find(" ;", path) - path - 4) + " was not met"
             : event->message,
         ""});
    std::erase_if(diagnosis.log, [&](const std::string& line) { return line.ends_with(": " + event->message); });
}

Diagnosis DiagnosisOf(const std::string& name, const UnitProperties& unit, const Facts& facts,
                      const Dependencies& dependencies)
{
    Diagnosis diagnosis{.asked = unit.WasAsked(),
                        .unit = unit.WasAsked() ? unit["Id"] : name,
                        .load = unit["LoadState"],
                        .active = unit["ActiveState"],
                        .sub = unit["SubState"],
                        .since = unit["StateChangeTimestamp"],
                        .causes = {},
                        .log = {}};
    if (!unit.WasAsked() || IsMissing(diagnosis.load)) {
        return diagnosis;
    }
    std::vector<Cause>& causes = diagnosis.causes = HoldsOf(diagnosis.unit);
    AddJob(unit, facts.jobs, causes);
    if (!Runs(unit)) {
        AddRecordedUnmount(diagnosis.unit, causes);
        AddConflicts(unit, dependencies, causes);
        AddMachineState(facts, dependencies, causes);
        AddSupport(diagnosis.unit, causes);
        AddFailure(unit, HitStartLimit(facts.journal, diagnosis.unit), causes);
        for (Cause& cause : dependencies.CausesOf(unit, facts.journal)) {
            cause.log = LastLines(facts.journal, cause.unit, kDependencyLines, kOfDependency);
            causes.push_back(std::move(cause));
        }
        AddUnitFileState(unit, causes);
        diagnosis.log = LastLines(facts.journal, diagnosis.unit, kOwnLines, kSystemdLines);
        AddCondition(unit, diagnosis, facts.journal);
    }
    AddChangedFiles(unit, causes);
    return diagnosis;
}

/// The units to read from the journal in addition: dependencies that are down, and the real names of aliases, which it
/// does not know.
Texts MoreToRead(const Texts& names, const std::vector<UnitProperties>& units, const Dependencies& dependencies)
{
    Texts more = dependencies.Down();
    std::erase_if(more, [&](const std::string& unit) {
        return std::any_of(units.begin(), units.end(), [&](const UnitProperties& one) { return one["Id"] == unit; });
    });
    for (std::size_t i = 0; i < units.size(); ++i) {
        if (OwnName(names[i], units[i]) != names[i]) {
            more.push_back(units[i]["Id"]);
        }
    }
    return more;
}

/// Quotes for a shell, which would remove the backslashes in a unit's name.
std::string ForShell(const std::string& command)
{
    std::istringstream words(command);
    std::string quoted;
    for (std::string word; words >> word;) {
        quoted += (quoted.empty() ? "" : " ") + (word.find('\\') != word.npos ? "'" + word + "'" : word);
    }
    return quoted;
}

} // namespace

std::optional<std::vector<Diagnosis>> Diagnose(const Texts& names)
{
    JournalReading reading(names); // runs beside the queries
    Facts facts{.units = AskProperties(names, DiagnosedProperties().c_str()),
                .jobs = {},
                .journal = {},
                .isolation = IsolationCause(CurrentIsolation())};
    if (facts.units.empty()) {
        return std::nullopt;
    }
    facts.jobs = JobsOf(facts.units);
    std::vector<UnitProperties> down;
    std::copy_if(facts.units.begin(), facts.units.end(), std::back_inserter(down),
                 [](const UnitProperties& unit) { return unit.WasAsked() && !Runs(unit); });
    const bool allFailed = std::all_of(down.begin(), down.end(),
                                       [](const UnitProperties& unit) { return unit["ActiveState"] == "failed"; });
    const Dependencies dependencies(down, allFailed ? Texts() : kMachine); // the machine's state makes no unit fail
    facts.journal = reading.Take();
    if (const Texts others = MoreToRead(names, facts.units, dependencies); !others.empty()) {
        const std::vector<JournalEntry> more = JournalReading(others).Take();
        facts.journal.insert(facts.journal.end(), more.begin(), more.end());
    }
    std::vector<Diagnosis> diagnoses;
    for (std::size_t i = 0; i < names.size(); ++i) {
        diagnoses.push_back(DiagnosisOf(names[i], facts.units[i], facts, dependencies));
    }
    return diagnoses;
}

Json::Value ToJson(const std::vector<Cause>& causes)
{
    Json::Value list(Json::arrayValue);
    for (const Cause& cause : causes) {
        Json::Value& entry = list.append(Json::objectValue);
        entry["kind"] = cause.kind;
        entry["text"] = cause.text;
        entry["remedy"] = ForShell(cause.remedy);
        entry["unit"] = cause.unit;
        entry["log"] = ToJson(cause.log);
    }
    return list;
}

void PrintCauses(std::ostream& stream, const std::vector<Cause>& causes, const std::string& indentation)
{
    constexpr std::size_t kColumn = 12; // room for the longest word
    constexpr std::size_t kWidth = 80;
    const std::string blanks(kColumn, ' ');
    for (const Cause& cause : causes) {
        std::string before = cause.kind + blanks.substr(cause.kind.size());
        for (const std::string& line : WrapWords(cause.text, kWidth - kColumn - indentation.size())) {
            stream << indentation << std::exchange(before, blanks) << line << '\n';
        }
        for (const std::string& line : cause.log) {
            stream << indentation << blanks << line << '\n';
        }
        if (!cause.remedy.empty()) {
            stream << indentation << blanks << "-> " << ForShell(cause.remedy) << '\n'; // on one line, for copying
        }
    }
}

void PrintCauses(std::ostream& stream, const Diagnosis& diagnosis, const std::string& indentation)
{
    PrintCauses(stream, diagnosis.causes, indentation);
    for (const std::string& line : diagnosis.log) {
        stream << indentation << line << '\n';
    }
}

} // namespace MERO::Tool
