#include "running/job_watch.h"

#include "output/words.h"

#include <merosystemd/systemd.hpp>

namespace MERO::Tool {

using Systemd::JobState;
using Systemd::JobType;

void JobWatch::Update()
{
    std::map<std::uint32_t, Systemd::JobInfo> queue;
    (void)MEROSystemdIntJobList(queue); // no list, no details: the operation itself goes on
    std::map<std::string, Watched> jobs;
    for (const auto& [id, job] : queue) {
        const auto known = jobs_.find(job.unit);
        const bool isKnown = known != jobs_.end() && known->second.job.id == id;
        jobs[job.unit] = {job, isKnown ? known->second.seen : Clock::now()};
    }
    jobs_ = std::move(jobs);
}

Texts JobWatch::Units() const
{
    Texts units;
    for (const auto& [unit, watched] : jobs_) {
        units.push_back(unit);
    }
    return units;
}

Texts JobWatch::Stopping() const
{
    Texts units;
    for (const auto& [unit, watched] : jobs_) {
        if (watched.job.type == JobType::Stop) {
            units.push_back(unit);
        }
    }
    return units;
}

std::string JobWatch::Details() const
{
    constexpr std::size_t kNamed = 3;
    std::string details;
    std::size_t running = 0, waiting = 0;
    for (const auto& [unit, watched] : jobs_) {
        if (watched.job.state != JobState::Running) {
            ++waiting;
            continue;
        }
        if (++running > kNamed) {
            continue;
        }
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - watched.seen).count();
        const std::string type = watched.job.type != JobType::Unknown ? TypeWord(watched.job.type) : "job";
        details += (details.empty() ? "" : ", ") + unit + " " + type + " (" + std::to_string(seconds) + " s)";
    }
    if (running > kNamed) {
        details += ", " + std::to_string(running - kNamed) + " more";
    }
    if (waiting > 0) {
        details += (details.empty() ? "" : ", ") + std::to_string(waiting) + " queued";
    }
    return details;
}

} // namespace MERO::Tool
