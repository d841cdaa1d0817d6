#pragma once

#include "core/log.h"

#include <string>

namespace MERO::Systemd {

/// Moves the calling process into a slice of the hierarchy at /sys/fs/cgroup/<hierarchy>. If that is systemd's and uses
/// cgroup version 2, MoveToScope does it.
bool MoveToCgroupSlice(const std::string& strSlice, const std::string& hierarchy);

/// Makes systemd move the calling process into a transient scope of this slice. With cgroup version 2 only systemd may
/// write to its cgroups, and those with controllers accept no processes.
bool MoveToScope(SourceLine where, const std::string& slice);

/// Moves the calling process, with all its threads, into the cgroup of this tasks file. Messages name the file as
/// `shown`.
bool MoveToCgroup(SourceLine where, const char* tasksFile, const char* shown);

} // namespace MERO::Systemd
