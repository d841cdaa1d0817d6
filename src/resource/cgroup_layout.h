#pragma once

#include <string>

/// Where systemd and the resource monitor have their hierarchies of cgroups.
///
/// Of version 1 each has a named hierarchy of its own, below /sys/fs/cgroup. On a machine of today the hierarchy of
/// version 2 is mounted there, and it is systemd's; the monitor's may be mounted in it. Where that is not so, the
/// slices that are accounted are systemd's. In the classic dialect all machines are of the first kind.
namespace MERO::Systemd {

/// Whether systemd's hierarchy is the one of version 2. The file system decides: the lines of a process may name
/// hierarchies that nobody uses.
bool IsUnified();

/// Whether systemd's own slices are accounted, in place of the monitor's hierarchy, which is not there.
bool TracksSystemdSlices();

/// The root folder of systemd's hierarchy; ends with "/".
std::string SystemdHierarchy();

} // namespace MERO::Systemd
