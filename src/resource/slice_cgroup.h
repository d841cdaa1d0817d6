#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// A slice in systemd's hierarchy of cgroups.
namespace MERO::Systemd {

/// The folder of a slice: those that its name implies come before it, as in a.slice/a-b.slice.
std::string SliceCgroup(const std::string& slice);

/// Appends the slices in systemd's hierarchy, those within others too. False when there are none. Throws
/// std::filesystem::filesystem_error.
bool SlicesOfSystemd(std::vector<std::string>& slices);

/// Calls `take` with the process IDs in each cgroup of the slice, a line each. False when there is no such slice.
/// Throws std::filesystem::filesystem_error.
bool ForEachProcessOfSlice(const std::string& slice, const std::function<void(std::string_view)>& take);

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
