#include "commands/commands.h"
#include "diagnosis/jobs.h"
#include "diagnosis/manager.h"
#include "diagnosis/report.h"
#include "output/output.h"
#include "output/words.h"

#include <merosystemd/systemd.hpp>

#include <memory>

namespace MERO::Tool {
namespace {

void PrintJobs(const Jobs& jobs)
{
    std::vector<Texts> rows{{"JOB", "UNIT", "TYPE", "STATE"}};
    for (const auto& [id, job] : jobs) {
        rows.push_back({std::to_string(id), job.unit, TypeWord(job.type), StateWord(job.state)});
    }
    PrintTable(rows);
}

} // namespace

void AddJobsCommand(const Command& program)
{
    for (const char* name : {"jobs", "list-jobs"}) { // list-jobs is systemctl's name
        const auto json = std::make_shared<bool>(false);
        const Command command = program.AddCommand(name, "List systemd's queued jobs");
        command.AddFlag("--json", *json, "As a JSON array");
        command.OnCall([json]() -> int {
            Jobs jobs;
            const bool listed = MEROSystemdIntJobList(jobs);
            if (!listed || (jobs.empty() && !IsManagerThere())) { // classic: no answer looks empty too
                return ReportFailure("listing the jobs");
            }
            *json ? PrintJson(JobsToJson(jobs)) : PrintJobs(jobs);
            return kDone;
        });
    }
}

} // namespace MERO::Tool
