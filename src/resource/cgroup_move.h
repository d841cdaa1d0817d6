#pragma once

#include "core/log.h"

#include <string>

namespace MERO::Systemd {

/// Moves the calling process into a slice of the named hierarchy that is mounted at /sys/fs/cgroup/<hierarchy>.
bool MoveToCgroupSlice(const std::string& strSlice, const std::string& hierarchy);

/// Moves the calling process, with all its threads, into the cgroup that has this tasks file. `shown` is how messages
/// call the file.
bool MoveToCgroup(SourceLine where, const char* tasksFile, const char* shown);

} // namespace MERO::Systemd
