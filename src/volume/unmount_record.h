#pragma once

#include <merosystemd/volume.hpp>

#include <sys/types.h>

#include <string>
#include <vector>

namespace MERO::Systemd {

/// The record of what an unmount has stopped and must start again: a file that outlives its processes.
struct UnmountRecord {
    std::vector<std::string> volumes;
    std::vector<std::string> services; ///< the stop set
    std::vector<std::string> units;    ///< these and what systemd stops along with them, in start order
    long long since = 0;               ///< seconds since 1970
    pid_t caller = 0;
    pid_t watcher = 0; ///< 0: none

    /// Replaces the record in one step, and adds the processes' start times. Returns false, and logs it, on failure.
    bool Write() const;

    static void Remove();
};

/// Reads the record. Kind::None: there is none; Kind::Interrupted: its processes have ended. Returns false, and logs
/// it, if the record cannot be read.
bool ReadUnmountRecord(UnmountRecord& record, VolumeUnmountState::Kind& kind);

/// Removes from the record the units that must not be started again: those that are held, and those that systemd can no
/// longer load.
void LeaveOutHeldOrGone(UnmountRecord& record);

} // namespace MERO::Systemd
