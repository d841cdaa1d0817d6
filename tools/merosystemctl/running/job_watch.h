#pragma once

#include "output/output.h"

#include <merosystemd/job.hpp>

#include <chrono>
#include <map>
#include <string>

namespace MERO::Tool {

/// Watches what systemd is busy with.
class JobWatch {
public:
    /// Asks systemd.
    void Update();

    Texts Units() const;    ///< that had a job at the last update
    Texts Stopping() const; ///< that had a stop job

    /// Some of the jobs that run, with the seconds for which they have been seen to; how many more run, or wait.
    std::string Details() const;

private:
    using Clock = std::chrono::steady_clock;

    struct Watched {
        Systemd::JobInfo job;
        Clock::time_point seen; ///< first
    };

    std::map<std::string, Watched> jobs_; ///< by unit
};

} // namespace MERO::Tool
