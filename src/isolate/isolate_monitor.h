#pragma once

#include "core/lock.h"

namespace MERO::Systemd {

/// Forks the isolate monitor. It shares `lock` until it sees this process' isolate command running, the not-finish flag
/// is gone, this process has ended, or two minutes have passed. This process keeps its own copy of the lock.
bool StartIsolateMonitor(FileLock& lock);

} // namespace MERO::Systemd
