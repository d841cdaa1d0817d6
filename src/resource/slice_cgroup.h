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

} // namespace MERO::Systemd
