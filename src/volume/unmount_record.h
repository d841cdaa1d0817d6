#pragma once

#include <merosystemd/volume.hpp>

#include <sys/types.h>

#include <string>
#include <vector>

namespace MERO::Systemd {

/// What an unmounting has stopped and owes, in a file that outlives its processes.
struct UnmountRecord {
    std::vector<std::string> volumes;
    std::vector<std::string> services; ///< that the action stops
    std::vector<std::string> units;    ///< these, and what systemd stops along, in the order of their starts
    long long since = 0;               ///< seconds since 1970
    pid_t caller = 0;
    pid_t watcher = 0; ///< 0: there is none

    /// Writes it whole, in the place of the one that is there, with the processes' start times. False,
    /// which is logged, when that fails.
    bool Write() const;

    static void Remove();
};

/// Reads the record. Kind::None when there is none; Kind::Interrupted when its processes are gone. False, which is
/// logged, when it cannot be read.
bool ReadUnmountRecord(UnmountRecord& record, VolumeUnmountState::Kind& kind);

/// Takes the units from the record that may not be started again: those that a reason holds, and those that systemd
/// can no longer load.
void LeaveOutHeldOrGone(UnmountRecord& record);

} // namespace MERO::Systemd
