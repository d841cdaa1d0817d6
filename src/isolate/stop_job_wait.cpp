#define MERO_SOURCE_NAME "systemd_isolate_target"
#include "isolate/stop_job_wait.h"

#include "core/interruption.h"
#include "core/log.h"
#include "core/systemctl_dialect.h"
#include "core/text.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

namespace MERO::Systemd {
namespace {

constexpr int kPasses = 300; // one second each

std::vector<std::string> NewStopJobs(const Jobs& now, const Jobs& before, const std::string& own)
{
    std::vector<std::string> units;
    for (const auto& [id, job] : now) {
        if (job.type == JobType::Stop && !before.contains(id) && job.unit != own) {
            units.push_back(job.unit);
        }
    }
    return units;
}

/// Returns this process' unit: its stop waits for us, so we must not wait for it. Empty in the classic dialect, which
/// waits for it all the same.
std::string OwnUnit()
{
    std::string unit;
    try {
        if (ConfiguredSystemctlDialect().isCurrent) {
            (void)MEROSystemdGetByPid(getpid(), unit);
        }
    } catch (const std::exception&) { // the dialect cannot be read, which is logged
    }
    return unit;
}

void LogJobs(const char* heading, const Jobs& jobs)
{
    MERO_LOG(LOG_INFO, "%s", heading);
    for (const auto& [id, job] : jobs) {
        MERO_LOG(LOG_INFO, "%s", job.ToString().c_str());
    }
}

} // namespace

bool ListJobs(Jobs& jobs)
{
    const bool listed = MEROSystemdIntJobList(jobs);
    if (!listed) {
        MERO_LOG(LOG_ERR, "Failed to get systemd jobs");
    }
    return listed;
}

void WaitForStopJobs(const Jobs& before, MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result)
{
    MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT unwanted;
    MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT& state = result != nullptr ? *result : unwanted;
    Jobs now;
    const std::string own = OwnUnit();
    for (int pass = kPasses - 1; pass >= 0; --pass) {
        now.clear();
        if (!ListJobs(now)) {
            state = MERO_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED;
        } else {
            state = MERO_SYSTEMD_ISOLATE_WAIT_STOP_PENDING;
            const std::vector<std::string> stopping = NewStopJobs(now, before, own);
            if (stopping.empty()) {
                state = MERO_SYSTEMD_ISOLATE_WAIT_STOP_DONE;
                return;
            }
            if (pass % 2 == 1) {
                MERO_LOG(LOG_INFO, "wait stop service [%s]", Join(stopping).c_str());
            }
        }
        SleepOneSecond();
    }
    LogJobs("The following job are still in job lists:", now);
    LogJobs("The following job are alreay in job lists before isolation:", before); // "alreay": programs match this
    MERO_LOG(LOG_INFO, "Isolation didn't wait some running jobs.");
}

} // namespace MERO::Systemd
