#pragma once

#include "output/output.h"

#include <merosystemd/job.hpp>

#include <chrono>
#include <map>
#include <string>

namespace MERO::Tool {

class JobWatch {
public:
    /// Reads the job queue.
    void Update();

    Texts Units() const;    ///< units that had a job at the last update
    Texts Stopping() const; ///< units that had a stop job

    /// Some of the running jobs with the seconds since they were first seen, and how many more are running or queued.
    std::string Details() const;

private:
    using Clock = std::chrono::steady_clock;

    struct Watched {
        Systemd::JobInfo job;
        Clock::time_point seen; ///< when first seen
    };

    std::map<std::string, Watched> jobs_; ///< by unit
};

} // namespace MERO::Tool
