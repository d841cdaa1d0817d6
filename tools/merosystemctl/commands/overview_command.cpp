#include "commands/commands.h"
#include "diagnosis/holds.h"
#include "diagnosis/isolation.h"
#include "diagnosis/jobs.h"
#include "diagnosis/report.h"
#include "diagnosis/systemctl_table.h"
#include "output/metrics.h"
#include "output/output.h"
#include "output/times.h"
#include "output/words.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <iostream>
#include <memory>

namespace MERO::Tool {
namespace {

enum class Form { Text, Json, Prometheus };

using UnmountKind = Systemd::VolumeUnmountState::Kind;

constexpr std::size_t kMostLines = 8; // of each kind, so that all kinds fit on one screen

struct Overview {
    std::vector<TableRow> failed;
    Texts held;
    Systemd::VolumeUnmountState unmount;
    bool isUnmountKnown = false;
    Jobs jobs;
    Isolation isolation;
};

/// Adds the first lines of one kind, with a remedy for all of them.
void AddGroup(std::vector<Cause>& lines, const std::string& kind, const Texts& texts, const std::string& remedy)
{
    const std::size_t shown = texts.size() > kMostLines ? kMostLines - 1 : texts.size();
    for (std::size_t i = 0; i < shown; ++i) {
        lines.push_back({i == 0 ? kind : "", texts[i], ""});
    }
    if (shown < texts.size()) {
        lines.push_back({"", "and " + std::to_string(texts.size() - shown) + " more", ""});
    }
    if (!texts.empty()) {
        lines.back().remedy = remedy;
    }
}

void AddUnmount(const Overview& overview, std::vector<Cause>& lines)
{
    if (!overview.isUnmountKnown) {
        lines.push_back({"down", "cannot read whether an unmount was interrupted", "merosystemctl volume state"});
        return;
    }
    const Systemd::VolumeUnmountState& unmount = overview.unmount;
    if (unmount.kind == UnmountKind::None) {
        return;
    }
    const bool isRunning = unmount.kind == UnmountKind::Running;
    const std::string what = "the unmount of " + ToCell(unmount.volumes) + " that began " +
                             TimeText(static_cast<std::time_t>(unmount.since));
    Texts texts{what + (isRunning ? " is going on" : " was interrupted")};
    texts.insert(texts.end(), unmount.units.begin(), unmount.units.end());
    AddGroup(lines, "down", texts, isRunning ? "" : "merosystemctl volume recover");
}

void PrintOverview(const Overview& overview)
{
    std::vector<Cause> lines;
    Texts failed, held, jobs;
    for (TableRow unit : overview.failed) {
        failed.push_back(unit["UNIT"] + (unit["DESCRIPTION"] == unit["UNIT"] ? "" : " - " + unit["DESCRIPTION"]) +
                         (unit["SUB"] == "auto-restart" ? ", is restarted again and again" : ""));
    }
    for (const std::string& service : overview.held) {
        for (const Cause& hold : HoldsOf(service)) {
            held.push_back(service + " " + hold.text);
        }
    }
    for (const auto& [id, job] : overview.jobs) {
        jobs.push_back(job.unit + " " + TypeWord(job.type) + " " + StateWord(job.state));
    }
    AddGroup(lines, "failed", failed, "merosystemctl why");
    AddGroup(lines, "held", held, "merosystemctl reason release REASON SERVICE");
    AddUnmount(overview, lines);
    AddGroup(lines, "jobs", jobs, jobs.size() > kMostLines ? "merosystemctl jobs" : "");
    if (const auto isolation = IsolationCause(overview.isolation)) {
        lines.push_back(*isolation);
    }
    PrintCauses(std::cout, lines, "");
    if (lines.empty()) {
        std::cout << "all is well: nothing failed, is held, or is down for a volume; no jobs, no isolation\n";
    }
}

void PrintOverviewAsJson(const Overview& overview)
{
    constexpr const char* kUnmountWords[] = {"none", "running", "interrupted"};
    constexpr const char* kIsolationWords[] = {"none", "running", "interrupted", "unreadable"};
    Json::Value object(Json::objectValue);
    object["failed"] = Json::Value(Json::arrayValue);
    for (TableRow unit : overview.failed) {
        Json::Value& entry = object["failed"].append(Json::objectValue);
        entry["unit"] = unit["UNIT"];
        entry["sub"] = unit["SUB"];
        entry["description"] = unit["DESCRIPTION"];
    }
    object["held"] = Json::Value(Json::objectValue);
    for (const std::string& service : overview.held) {
        Texts reasons;
        (void)MEROSystemdServiceReasonList(service, reasons);
        object["held"][service] = ToJson(reasons);
    }
    const Systemd::VolumeUnmountState& unmount = overview.unmount;
    object["unmount"]["state"] =
        overview.isUnmountKnown ? kUnmountWords[static_cast<std::size_t>(unmount.kind)] : "unreadable";
    object["unmount"]["volumes"] = ToJson(unmount.volumes);
    object["unmount"]["units"] = ToJson(unmount.units);
    object["unmount"]["since"] = static_cast<Json::Int64>(unmount.since);
    object["jobs"] = JobsToJson(overview.jobs);
    object["isolation"]["state"] = kIsolationWords[static_cast<std::size_t>(overview.isolation.kind)];
    object["isolation"]["target"] = overview.isolation.target;
    PrintJson(object);
}

/// Fails if it is unknown which units are down: a 0 could be wrong.
int PrintOverviewAsMetrics(const Overview& overview)
{
    if (!overview.isUnmountKnown) {
        return ReportFailure("reading what an unmount stopped");
    }
    const auto gauge = [](const char* name, const char* help, std::size_t count) {
        return Metric{name, MetricType::Gauge, help, "", {{"", static_cast<double>(count)}}};
    };
    PrintMetrics({gauge("merosystemd_units_failed", "Units that failed.", overview.failed.size()),
                  gauge("merosystemd_units_held", "Services that are held stopped.", overview.held.size()),
                  gauge("merosystemd_units_down", "Units that an unmount stopped and has not started again.",
                        overview.unmount.units.size())});
    return kDone;
}

int RunOverview(Form form)
{
    Overview overview;
    const auto failed = FailedUnits();
    if (!failed) {
        return ReportFailure("listing the failed units");
    }
    overview.failed = *failed;
    (void)Systemd::ListServicesWithReason(overview.held);
    std::sort(overview.held.begin(), overview.held.end());
    overview.isUnmountKnown = MEROSystemdVolumeUnmountStateGet(overview.unmount);
    overview.isolation = CurrentIsolation();
    if (!MEROSystemdIntJobList(overview.jobs)) {
        return ReportFailure("listing the jobs");
    }
    if (form == Form::Prometheus) {
        return PrintOverviewAsMetrics(overview);
    }
    form == Form::Json ? PrintOverviewAsJson(overview) : PrintOverview(overview);
    return kDone;
}

} // namespace

void AddOverviewCommand(const Command& program)
{
    struct Arguments {
        bool json = false;
        bool prometheus = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command command = program.AddCommand("overview", "Show what failed, is held, down, or going on");
    const Argument json = command.AddFlag("--json", arguments->json, "As a JSON object");
    command.AddFlag("--prometheus", arguments->prometheus, "As metrics: how many units").Excludes(json);
    command.OnCall([arguments] {
        return RunOverview(arguments->json ? Form::Json : arguments->prometheus ? Form::Prometheus : Form::Text);
    });
}

} // namespace MERO::Tool
