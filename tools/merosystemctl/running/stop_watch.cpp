#include "running/stop_watch.h"

#include <merosystemd/systemd.hpp>

namespace MERO::Tool {
namespace {

using Jobs = std::map<std::uint32_t, MERO::Systemd::JobInfo>;

Jobs List()
{
    Jobs jobs;
    (void)MEROSystemdIntJobList(jobs); // no list, no progress: the operation itself goes on
    return jobs;
}

} // namespace

StopWatch::StopWatch()
{
    for (const auto& [id, job] : List()) {
        before_.insert(id);
    }
}

void StopWatch::Update()
{
    std::map<std::string, Stop> stops;
    const Clock::time_point now = Clock::now();
    for (const auto& [id, job] : List()) {
        if (job.type == MERO::Systemd::JobType::Stop && !before_.contains(id)) {
            const auto known = stops_.find(job.unit);
            stops[job.unit] = {.seen = known != stops_.end() ? known->second.seen : now,
                               .isRunning = job.state == MERO::Systemd::JobState::Running};
        }
    }
    stops_ = std::move(stops);
}

Texts StopWatch::Units() const
{
    Texts units;
    for (const auto& [unit, stop] : stops_) {
        units.push_back(unit);
    }
    return units;
}

std::string StopWatch::Details() const
{
    const Clock::time_point now = Clock::now();
    std::string details;
    std::size_t waiting = 0;
    for (const auto& [unit, stop] : stops_) {
        if (!stop.isRunning) {
            ++waiting;
            continue;
        }
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now - stop.seen).count();
        details += (details.empty() ? "" : ", ") + unit + " (" + std::to_string(seconds) + " s)";
    }
    if (waiting > 0) {
        details += (details.empty() ? "" : ", ") + std::to_string(waiting) + " queued";
    }
    return details;
}

} // namespace MERO::Tool
