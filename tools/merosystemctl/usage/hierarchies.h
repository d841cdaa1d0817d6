#pragma once

namespace MERO::Tool {

constexpr const char* kMonitorHierarchy = "/sys/fs/cgroup/meromonitor";

/// Whether a file system of this type, such as CGROUP_SUPER_MAGIC, is mounted at the path.
bool IsFileSystem(const char* path, unsigned long type);

/// Whether the resource monitor tracks the slices. On cgroup version 2 without its hierarchy systemd does.
bool HasMonitorHierarchy();

} // namespace MERO::Tool
