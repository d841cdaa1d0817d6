#pragma once

#include "core/log.h"

#include <string>

namespace MERO::Systemd {

/// Moves the calling process into a slice of the named hierarchy that is mounted at /sys/fs/cgroup/<hierarchy>.
bool MoveToCgroupSlice(const std::string& strSlice, const std::string& hierarchy);

/// Writes the calling process' ID into a cgroup's tasks file. `shown` is how messages call the file.
bool WriteOwnPid(SourceLine where, const char* tasksFile, const char* shown);

} // namespace MERO::Systemd
