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

void AddJobsCommand(CLI::App& program, int& exitCode)
{
    const auto json = std::make_shared<bool>(false);
    CLI::App* command = program.add_subcommand("jobs", "List systemd's queued jobs");
    command->add_flag("--json", *json, "As a JSON array");
    command->callback([json, &exitCode] {
        Jobs jobs;
        if (!MEROSystemdIntJobList(jobs)) {
            exitCode = ReportFailure("listing the jobs");
            return;
        }
        *json ? PrintJobsAsJson(jobs) : PrintJobs(jobs);
    });
}

} // namespace MERO::Tool
