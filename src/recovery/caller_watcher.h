#pragma once

#include "platform/core/owners.h"

#include <sys/types.h>

#include <functional>
#include <vector>

namespace MERO::Systemd {

/// A process that restores the previous state if the caller ends in the middle of an operation: killed, or stopped with
/// its own unit.
///
/// It is forked, so that it needs no file that could be missing or of another version. It has its own session, is
/// adopted by init, and keeps of the caller's descriptors only those of the locks, which stay held until it has ended.
/// It leaves the caller's unit, because systemd kills all processes of a unit: in the current dialect for a scope in
/// system.slice, in the classic one for the root of the hierarchy named systemd. If it cannot leave, it stays.
class CallerWatcher {
public:
    CallerWatcher() = default;
    CallerWatcher(const CallerWatcher&) = delete;
    CallerWatcher& operator=(const CallerWatcher&) = delete;
    ~CallerWatcher() { End(); }

    /// Starts the watcher. If this process ends or runs exec, the watcher runs `restore`, or `giveUp` if Arm() was not
    /// called. Returns false, and logs it, if there is no watcher.
    bool Start(const std::vector<int>& locks, const std::function<void()>& restore,
               const std::function<void()>& giveUp);

    /// From now on there is something to restore.
    void Arm();

    /// Ends the watcher and waits for its end. Afterwards only this process holds the locks.
    void End();

    /// Leaves the rest to the watcher, which begins as if this process had ended. Returns false if there is no watcher.
    bool HandOver();

    /// The watcher's process ID; 0 if there is none.
    pid_t Pid() const { return pid_; }

private:
    void Forget();

    Descriptor line_;    ///< the connection to the watcher, which acts when this end closes
    Descriptor watcher_; ///< the process
    pid_t pid_ = 0;
};

} // namespace MERO::Systemd
