#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "diagnosis/holds.h"
#include "diagnosis/jobs.h"
#include "diagnosis/journal.h"
#include "diagnosis/manager.h"
#include "diagnosis/report.h"
#include "diagnosis/unit_properties.h"
#include "output/amounts.h"
#include "output/output.h"
#include "output/text_width.h"
#include "output/words.h"
#include "running/unit_patterns.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <memory>

namespace MERO::Tool {
namespace {

constexpr const char* kStatusProperties =
    "Id,Description,LoadState,ActiveState,SubState,StateChangeTimestamp,UnitFileState,FragmentPath,Job,MainPID,"
    "MemoryCurrent,NeedDaemonReload";
constexpr std::size_t kLogLines = 10;

struct UnitStatus {
    std::string name; ///< as the caller named it
    UnitProperties unit;
    const Systemd::JobInfo* job;
    Texts reasons;
};

std::string OrDash(const std::string& text)
{
    return text.empty() ? "-" : text;
}

std::string JobText(const UnitStatus& status)
{
    return status.job != nullptr ? TypeWord(status.job->type) + std::string(" ") + StateWord(status.job->state) : "";
}

void PrintStatusTable(const std::vector<UnitStatus>& all)
{
    std::vector<Texts> rows{{"UNIT", "LOAD", "ACTIVE", "ENABLED", "JOB", "REASONS", "DESCRIPTION"}};
    for (const UnitStatus& status : all) {
        const UnitProperties& unit = status.unit;
        if (unit.WasAsked()) {
            rows.push_back({status.name, unit["LoadState"], unit["ActiveState"], OrDash(unit["UnitFileState"]),
                            OrDash(JobText(status)), ToCell(status.reasons), unit["Description"]});
        }
    }
    PrintTable(rows, {{1, ColourOfState}, {2, ColourOfState}});
}

void PrintStatus(const UnitStatus& status, const Texts& log)
{
    const UnitProperties& unit = status.unit;
    const auto line = [](const char* name, const std::string& value) {
        if (!value.empty()) {
            std::cout << FitLeft(name, 10) << value << '\n';
        }
    };
    const std::string &since = unit["StateChangeTimestamp"], &pid = unit["MainPID"], &enabled = unit["UnitFileState"];
    std::cout << unit["Id"] << (unit["Description"] == unit["Id"] ? "" : " - " + unit["Description"]) << '\n';
    line("Active", Coloured(unit["ActiveState"], ColourOfState(unit["ActiveState"])) + " (" + unit["SubState"] + ")" +
                       (since.empty() ? "" : " since " + since));
    line("Loaded", Coloured(unit["LoadState"], ColourOfState(unit["LoadState"])) +
                       (unit["FragmentPath"].empty() ? "" : " from " + unit["FragmentPath"]) +
                       (enabled.empty() ? "" : ", " + enabled));
    if (unit.Number("MainPID").value_or(0) != 0) {
        std::string command;
        std::getline(std::ifstream("/proc/" + pid + "/comm"), command);
        line("Main PID", pid + (command.empty() ? "" : " (" + command + ")"));
    }
    const auto memory = unit.Number("MemoryCurrent");
    line("Memory", memory ? MemoryText(*memory / 1024) : "");
    line("Job", JobText(status));
    line("Held", status.reasons.empty() ? "" : ToCell(status.reasons));
    for (const std::string& text : log) {
        std::cout << text << '\n';
    }
}

void PrintStatusAsJson(const std::vector<UnitStatus>& all)
{
    Json::Value list(Json::arrayValue);
    for (const UnitStatus& status : all) {
        const UnitProperties& unit = status.unit;
        const auto memory = unit.Number("MemoryCurrent");
        Json::Value& entry = list.append(Json::objectValue);
        entry["unit"] = status.name;
        entry["load"] = unit["LoadState"];
        entry["active"] = unit["ActiveState"];
        entry["sub"] = unit["SubState"];
        entry["since"] = unit["StateChangeTimestamp"];
        entry["enabled"] = unit["UnitFileState"];
        entry["job"] = Json::Value();
        if (status.job != nullptr) {
            entry["job"]["id"] = status.job->id;
            entry["job"]["type"] = TypeWord(status.job->type);
            entry["job"]["state"] = StateWord(status.job->state);
        }
        entry["reasons"] = ToJson(status.reasons);
        entry["description"] = unit["Description"];
        entry["mainPid"] = static_cast<Json::UInt64>(unit.Number("MainPID").value_or(0));
        entry["memoryBytes"] = memory ? Json::Value(static_cast<Json::UInt64>(*memory)) : Json::Value();
        entry["needDaemonReload"] = unit["NeedDaemonReload"] == "yes";
    }
    PrintJson(list);
}

/// Prints what a table has no room for.
void PrintWarnings(const std::vector<UnitStatus>& all)
{
    Texts changed;
    for (const UnitStatus& status : all) {
        if (!status.unit.WasAsked()) {
            PrintError(status.name + ": systemd cannot be asked for a unit of this name");
        } else if (status.unit["NeedDaemonReload"] == "yes") {
            changed.push_back(status.name);
        }
    }
    if (!changed.empty()) {
        PrintError("changed on disk since systemd read it: " + ToCell(changed));
        std::cerr << "  -> merosystemctl daemon-reload\n";
    }
}

int RunStatus(const Texts& words, bool json)
{
    const Texts names = LoadedUnits("", words);
    const bool isForOne = names.size() == 1 && !json;
    auto reading = isForOne ? std::make_unique<JournalReading>(names, kLogLines) : nullptr; // runs beside the query
    const std::vector<UnitProperties> units = AskProperties(names, kStatusProperties);
    if (units.empty()) {
        return ReportFailure((isForOne ? names.front() + ": " : "") + "asking for the status");
    }
    const Jobs jobs = JobsOf(units);
    std::vector<UnitStatus> all;
    ExitCode code = kDone;
    for (std::size_t i = 0; i < names.size(); ++i) {
        UnitStatus status{names[i], units[i], FindJob(jobs, units[i]), {}};
        (void)MEROSystemdServiceReasonList(OwnName(names[i], units[i]), status.reasons); // only services have any
        std::sort(status.reasons.begin(), status.reasons.end());
        code =
            Worse(code, units[i].WasAsked() ? StateExitCode(units[i]["LoadState"], units[i]["ActiveState"]) : kFailed);
        all.push_back(std::move(status));
    }
    if (json) {
        PrintStatusAsJson(all);
    } else if (!isForOne) {
        PrintStatusTable(all);
    } else if (IsMissing(units.front()["LoadState"])) {
        PrintError(names.front() + ": " + NoSuchUnitText());
    } else if (units.front().WasAsked()) {
        const std::string& id = units.front()["Id"];
        const bool isAlias = OwnName(names.front(), units.front()) != names.front(); // the journal does not know it
        const auto journal = isAlias ? JournalReading({id}, kLogLines).Take() : reading->Take();
        PrintStatus(all.front(), LastLines(journal, id, kLogLines, kLogLines));
    }
    PrintWarnings(all);
    return code;
}

} // namespace

void AddStatusCommand(const Command& program)
{
    struct Arguments {
        Texts units;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command command = program.AddCommand("status", "Show the state of units; for one unit, its log too");
    AddUnitsOrPatterns(command, arguments->units);
    command.AddFlag("--json", arguments->json, "As a JSON array");
    command.OnCall([arguments] { return RunStatus(arguments->units, arguments->json); });
}

} // namespace MERO::Tool
