#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// Slices in systemd's cgroup hierarchy.
namespace MERO::Systemd {

/// Returns a slice's folder, below those of the slices that its name implies: a.slice/a-b.slice.
std::string SliceCgroup(const std::string& slice);

/// Appends the slices in systemd's hierarchy, nested ones too. Returns false if there are none. Throws
/// std::filesystem::filesystem_error.
bool SlicesOfSystemd(std::vector<std::string>& slices);

/// Calls `take` with the process IDs in each cgroup of the slice, one on each line. Returns false if there is no such
/// slice. Throws std::filesystem::filesystem_error.
bool ForEachProcessOfSlice(const std::string& slice, const std::function<void(std::string_view)>& take);

/// Returns the units that have cgroups in the slice or in slices below it, without the slices themselves. A folder that
/// cannot be read is logged and ends the list.
std::vector<std::string> UnitsOfSlice(const std::string& slice);

/// Whether a process runs in the slice or in any cgroup below it; true if that cannot be read.
bool HasLiveProcess(const std::string& slice);

/// Whether systemd's hierarchy, which the functions above read, exists.
bool HasSystemdHierarchy();

/// Whether /proc shows a process in the slice; true if /proc cannot be read.
bool MayHaveProcess(const std::string& slice);

/// Whether the calling process runs in the slice.
bool RunsInSlice(const std::string& slice);

} // namespace MERO::Systemd
