#pragma once

#include "platform/core/owners.h"

#include <sys/types.h>

#include <functional>
#include <vector>

namespace MERO::Systemd {

/// A process that goes back in place of its caller, should that end in the middle of an operation: killed, or with its
/// own unit.
///
/// It is forked, so that it needs no file that could be missing or of another version. It has its own session, belongs
/// to init, and of the caller's descriptors has only those of the locks, which stay held until it has ended. It leaves
/// the caller's unit, since systemd kills all processes of a unit: for a scope of system.slice where systemctl is
/// today's, otherwise for the root of the hierarchy named systemd. Where neither is there, it stays.
class CallerWatcher {
public:
    CallerWatcher() = default;
    CallerWatcher(const CallerWatcher&) = delete;
    CallerWatcher& operator=(const CallerWatcher&) = delete;
    ~CallerWatcher() { End(); }

    /// Starts it. When this process ends, or becomes another program, `restore` runs there after Arm(), and
    /// `giveUp` before it. False, which is logged, when there is no watcher.
    bool Start(const std::vector<int>& locks, const std::function<void()>& restore,
               const std::function<void()>& giveUp);

    /// From now on there is something to go back from.
    void Arm();

    /// Ends the watcher and waits for its end: the locks are this process' alone again.
    void End();

    /// Leaves the rest to the watcher, which begins as if this process had ended. False when there is none.
    bool HandOver();

    /// Its process ID; 0 when there is none.
    pid_t Pid() const { return pid_; }

private:
    void Forget();

    Descriptor line_;    ///< to the watcher, which goes by its end
    Descriptor watcher_; ///< the process
    pid_t pid_ = 0;
};

} // namespace MERO::Systemd
