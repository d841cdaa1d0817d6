#pragma once

#include <string>
#include <vector>

/// A slice in systemd's hierarchy of cgroups.
namespace MERO::Systemd {

/// The folder of a slice: those that its name implies come before it, as in a.slice/a-b.slice.
std::string SliceCgroup(const std::string& slice);

/// The units of the slice, and of those below it, that have cgroups. Slices themselves are not among them. A folder
/// that cannot be read ends the list, and is logged.
std::vector<std::string> UnitsOfSlice(const std::string& slice);

/// Whether a process runs in the slice, or in whatever cgroup below it.
bool HasLiveProcess(const std::string& slice);

/// Whether systemd's hierarchy is there, whose folders the functions above read.
bool HasSystemdHierarchy();

/// Whether /proc shows a process in the slice. True, too, when /proc cannot be read: what may be alive is not called
/// gone.
bool MayHaveProcess(const std::string& slice);

/// Whether the calling process runs in the slice.
bool RunsInSlice(const std::string& slice);

} // namespace MERO::Systemd
