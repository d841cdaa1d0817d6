#pragma once

#include <merosystemd/job.hpp>
#include <merosystemd/status.h>

#include <cstdint>
#include <map>

namespace MERO::Systemd {

using Jobs = std::map<std::uint32_t, JobInfo>;

/// Gets systemd's jobs. Logs a failure.
bool ListJobs(Jobs& jobs);

/// Waits, up to five minutes, until every stop job that is not among the jobs `before` has left systemd's queue.
/// `result` may be null.
void WaitForStopJobs(const Jobs& before, MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result);

} // namespace MERO::Systemd
