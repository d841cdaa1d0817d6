#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "diagnosis/report.h"
#include "output/output.h"
#include "output/words.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <memory>
#include <optional>

namespace MERO::Tool {
namespace {

struct Status {
    std::string unit;
    int load, active, enabled;
    std::optional<Systemd::JobInfo> job;
    Texts reasons;
    std::string description;
};

/// Nothing when systemd cannot be asked.
std::optional<Status> Ask(const std::string& unit)
{
    Status status{unit, MEROSystemdLoadStatusGet(unit), MEROSystemdActiveStatusGet(unit), -1, {}, {}, {}};
    if (status.load < 0 || status.active < 0) {
        return std::nullopt;
    }
    if (status.load == MERO_SYSTEMD_LOAD_STATUS_NOT_FOUND) {
        return status;
    }
    status.enabled = MEROSystemdEnableStatusGet(unit);
    Systemd::JobInfo job;
    if (MEROSystemdIntJobGet(unit, job)) {
        status.job = job;
    }
    (void)MEROSystemdServiceReasonList(unit, status.reasons); // what is no service has none
    std::sort(status.reasons.begin(), status.reasons.end());
    (void)MEROSystemdShow(unit, "Description", status.description);
    return status;
}

void Print(const std::vector<Status>& all)
{
    std::vector<Texts> rows{{"UNIT", "LOAD", "ACTIVE", "ENABLED", "JOB", "REASONS", "DESCRIPTION"}};
    for (const Status& status : all) {
        rows.push_back({status.unit, LoadWord(status.load), ActiveWord(status.active),
                        status.load == MERO_SYSTEMD_LOAD_STATUS_NOT_FOUND ? "-" : EnableWord(status.enabled),
                        status.job ? TypeWord(status.job->type) + std::string(" ") + StateWord(status.job->state) : "-",
                        ToCell(status.reasons), status.description});
    }
    PrintTable(rows, {{1, ColourOfState}, {2, ColourOfState}});
}

void PrintAsJson(const std::vector<Status>& all)
{
    Json::Value list(Json::arrayValue);
    for (const Status& status : all) {
        Json::Value& entry = list.append(Json::objectValue);
        entry["unit"] = status.unit;
        entry["load"] = LoadWord(status.load);
        entry["active"] = ActiveWord(status.active);
        entry["enabled"] = EnableWord(status.enabled);
        entry["job"] = Json::Value();
        if (status.job) {
            entry["job"]["id"] = status.job->id;
            entry["job"]["type"] = TypeWord(status.job->type);
            entry["job"]["state"] = StateWord(status.job->state);
        }
        entry["reasons"] = ToJson(status.reasons);
        entry["description"] = status.description;
    }
    PrintJson(list);
}

int Run(const Texts& units, bool json)
{
    // Of several units the exit code tells the worst: no such unit, failed, not active.
    constexpr ExitCode kWorstFirst[] = {kNoSuchUnit, kFailed, kNotActive, kDone};
    std::vector<Status> all;
    auto worst = std::end(kWorstFirst) - 1;
    for (const std::string& unit : units) {
        const std::optional<Status> status = Ask(unit);
        if (!status) {
            return ReportFailure(unit + ": asking for the status");
        }
        worst = std::min(worst, std::find(std::begin(kWorstFirst), std::end(kWorstFirst),
                                          StateExitCode(LoadWord(status->load), ActiveWord(status->active))));
        all.push_back(*status);
    }
    json ? PrintAsJson(all) : Print(all);
    return *worst;
}

} // namespace

void AddStatusCommand(const Command& program)
{
    struct Arguments {
        Texts units;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command command = program.AddCommand("status", "Show what state units are in");
    AddUnits(command, arguments->units);
    command.AddFlag("--json", arguments->json, "As a JSON array");
    command.OnCall([arguments] { return Run(arguments->units, arguments->json); });
}

} // namespace MERO::Tool
