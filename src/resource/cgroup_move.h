#pragma once

#include "core/log.h"

#include <string>

namespace MERO::Systemd {

/// Moves the calling process into a slice of the named hierarchy that is mounted at /sys/fs/cgroup/<hierarchy>; where
/// systemd's is the one of version 2, by MoveToScope.
bool MoveToCgroupSlice(const std::string& strSlice, const std::string& hierarchy);

/// Has systemd move the calling process into a transient scope of this slice: on version 2 its cgroups are systemd's
/// alone to write to, and those with controllers take no process themselves.
bool MoveToScope(SourceLine where, const std::string& slice);

/// Moves the calling process, with all its threads, into the cgroup that has this tasks file. `shown` is how messages
/// call the file.
bool MoveToCgroup(SourceLine where, const char* tasksFile, const char* shown);

} // namespace MERO::Systemd
