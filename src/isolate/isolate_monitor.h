#pragma once

#include "core/lock.h"

namespace MERO::Systemd {

/// Forks the isolate monitor, a process that holds `lock` too until it has seen this process' isolate command, or the
/// not-finish flag is gone, or this process is, or two minutes have passed. The parent's hold is its own matter.
bool StartIsolateMonitor(FileLock& lock);

} // namespace MERO::Systemd
