/// @file
/// Jobs in systemd's queue.
#pragma once

#include <cstdint>
#include <string>

#pragma GCC visibility push(default)

namespace MERO::Systemd {

/// The type of a job. Other types (restart, reload, verify-active ...) are Unknown.
enum class JobType { Unknown = 0, Start = 1, Stop = 2 };

/// Whether systemd works on a job. Other states are Unknown.
enum class JobState { Unknown = 0, Running = 1, Waiting = 2 };

/// One queued job.
struct JobInfo {
    std::uint32_t id = 0;               ///< systemd's number for it
    std::string unit;                   ///< the unit's full name
    JobType type = JobType::Unknown;    ///< what it does
    JobState state = JobState::Unknown; ///< whether it is running

    /// Returns number, unit, type and state, separated by blanks: `42 nfs.service start waiting`. Unknown is "unknow".
    std::string ToString() const;
};

} // namespace MERO::Systemd

#pragma GCC visibility pop
