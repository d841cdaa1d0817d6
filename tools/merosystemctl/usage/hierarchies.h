#pragma once

namespace MERO::Tool {

constexpr const char* kMonitorHierarchy = "/sys/fs/cgroup/meromonitor";

/// Whether a file system of this type, such as CGROUP_SUPER_MAGIC, is mounted at the path.
bool IsFileSystem(const char* path, unsigned long type);

/// Whether slices are those of the resource monitor. On cgroup version 2 without its hierarchy they are systemd's.
bool HasMonitorHierarchy();

} // namespace MERO::Tool
