#pragma once

#include "core/lock.h"

#include <memory>

namespace MERO::Systemd {

/// Runs the operating system's status monitor script in the background. A shared lock is held until both this object
/// and the script have ended.
class StatusMonitor {
public:
    /// Takes the lock and starts the script, without waiting for it. Frees the lock of an earlier start first.
    bool Start();

private:
    std::unique_ptr<FileLock> lock_;
};

} // namespace MERO::Systemd
