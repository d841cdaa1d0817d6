#pragma once

#include <string>

/// Where the cgroup hierarchies of systemd and the resource monitor are.
///
/// With cgroup version 1, each has a named hierarchy of its own below /sys/fs/cgroup. With version 2, /sys/fs/cgroup is
/// systemd's hierarchy, and the monitor's may be mounted below it; if it is not, the tracked slices are systemd's. In
/// the classic dialect every machine counts as version 1.
namespace MERO::Systemd {

/// Whether systemd uses cgroup version 2. The file system shows it; /proc/<pid>/cgroup may list hierarchies that nobody
/// uses.
bool IsUnified();

/// Whether the tracked slices are systemd's own, because the monitor's hierarchy is not mounted.
bool TracksSystemdSlices();

/// The root folder of the hierarchy that systemd uses; ends with "/".
std::string SystemdHierarchy();

} // namespace MERO::Systemd
