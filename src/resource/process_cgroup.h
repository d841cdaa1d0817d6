#pragma once

#include <string>
#include <string_view>

/// The cgroups of a process, as the lines of /proc/<pid>/cgroup tell them: "hierarchy:controllers:path".
namespace MERO::Systemd {

/// The path in a line whose controllers are exactly `controllers`. A path that holds ":" is never found.
bool CgroupPathParse(const std::string& line, const std::string& controllers, std::string& path);

/// The path in the first of the lines that has these controllers.
bool FindCgroupPath(std::string_view lines, const std::string& controllers, std::string& path);

/// The path in systemd's own hierarchy.
bool SystemdCgroupPath(std::string_view lines, std::string& path);

/// The unit whose processes have that path: its last folder, if the name holds a ".". Empty when there is none.
std::string UnitOfCgroup(const std::string& path);

/// The unit that a folder stands for. systemd puts "_" before names that mean something to the kernel in that place
/// (memory.slice, io.service) and before those that begin with "_" themselves: see cg_escape in its cgroup-util.c.
std::string UnitOfFolder(const std::string& folder);

} // namespace MERO::Systemd
