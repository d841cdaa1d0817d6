#include "commands/commands.h"
#include "diagnosis/report.h"
#include "output/output.h"
#include "output/words.h"

#include <merosystemd/systemd.hpp>

#include <memory>

namespace MERO::Tool {
namespace {

using Jobs = std::map<std::uint32_t, MERO::Systemd::JobInfo>;

void PrintJobs(const Jobs& jobs)
{
    std::vector<Texts> rows{{"JOB", "UNIT", "TYPE", "STATE"}};
    for (const auto& [id, job] : jobs) {
        rows.push_back({std::to_string(id), job.unit, TypeWord(job.type), StateWord(job.state)});
    }
    PrintTable(rows);
}

void PrintJobsAsJson(const Jobs& jobs)
{
    Json::Value list(Json::arrayValue);
    for (const auto& [id, job] : jobs) {
        Json::Value& entry = list.append(Json::objectValue);
        entry["id"] = id;
        entry["unit"] = job.unit;
        entry["type"] = TypeWord(job.type);
        entry["state"] = StateWord(job.state);
    }
    PrintJson(list);
}

} // namespace

void AddJobsCommand(const Command& program)
{
    const auto json = std::make_shared<bool>(false);
    const Command command = program.AddCommand("jobs", "List systemd's queued jobs");
    command.AddFlag("--json", *json, "As a JSON array");
    command.OnCall([json]() -> int {
        Jobs jobs;
        if (!MEROSystemdIntJobList(jobs)) {
            return ReportFailure("listing the jobs");
        }
        *json ? PrintJobsAsJson(jobs) : PrintJobs(jobs);
        return kDone;
    });
}

} // namespace MERO::Tool
