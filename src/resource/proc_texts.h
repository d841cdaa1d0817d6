#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// What the texts in /proc say: see proc(5).
namespace MERO::Systemd {

/// The name of the script that an interpreter runs, from the first line of its "cmdline".
std::string ScriptName(std::string_view line);

/// The process' ticks, from the line of its "stat".
bool ProcessTicks(std::string_view line, std::uint64_t& user, std::uint64_t& system);

/// The ticks of all processors, from the first line of /proc/stat.
bool ProcessorTicks(std::string_view line, std::uint64_t& total);

/// In kB, from whole lines of the process' "smaps".
std::uint64_t SumOfPss(std::string_view lines);

/// What the process had storage read and write, from its "io". False unless both are there.
bool IoBytes(std::string_view text, std::uint64_t& readBytes, std::uint64_t& writeBytes);

// The cgroups of a process, in the lines of its "cgroup": "hierarchy:controllers:path".

/// The path in a line whose controllers are exactly `controllers`. A path that holds ":" is never found.
bool CgroupPathParse(const std::string& line, const std::string& controllers, std::string& path);

/// The path in the first of the lines that has these controllers.
bool FindCgroupPath(std::string_view lines, const std::string& controllers, std::string& path);

/// What stands for controllers in the line of systemd's hierarchy. In version 2 (`isUnified`) nothing does.
inline const char* SystemdControllers(bool isUnified)
{
    return isUnified ? "" : "name=systemd";
}

/// The unit whose processes have that path: its last folder, if the name holds a ".". Empty when there is none.
std::string UnitOfCgroup(const std::string& path);

/// The unit that a folder stands for. systemd puts "_" before names that mean something to the kernel in that place
/// (memory.slice, io.service) and before those that begin with "_" themselves: see cg_escape in its cgroup-util.c.
std::string UnitOfFolder(const std::string& folder);

// The kernel's tables of mounts, swap files and exports: a line each, columns with blanks between, paths with their own
// blanks as octal escapes ("\040").

/// A path of such a table as it is.
std::string UnescapeOctal(std::string_view text);

/// The paths in one column of such a table, the first column being 0. What does not begin with "/" is left out.
std::vector<std::string> PathsInColumn(std::string_view table, std::size_t column);

} // namespace MERO::Systemd
