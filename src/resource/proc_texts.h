#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Parses the texts in /proc: see proc(5).
namespace MERO::Systemd {

/// Returns the name of the script that an interpreter runs, from the first line of its "cmdline".
std::string ScriptName(std::string_view line);

/// Gets the process' ticks from the line of its "stat".
bool ProcessTicks(std::string_view line, std::uint64_t& user, std::uint64_t& system);

/// Gets the ticks of all processors from the first line of /proc/stat.
bool ProcessorTicks(std::string_view line, std::uint64_t& total);

/// Returns the sum in kB, from whole lines of the process' "smaps".
std::uint64_t SumOfPss(std::string_view lines);

/// Gets the bytes that the process read from and wrote to storage, from its "io". Returns false unless both are found.
bool IoBytes(std::string_view text, std::uint64_t& readBytes, std::uint64_t& writeBytes);

// The cgroups of a process, in the lines of its "cgroup": "hierarchy:controllers:path".

/// Gets the path from a line whose controllers are exactly `controllers`. Never finds a path that holds ":".
bool CgroupPathParse(const std::string& line, const std::string& controllers, std::string& path);

/// Gets the path from the first line with these controllers.
bool FindCgroupPath(std::string_view lines, const std::string& controllers, std::string& path);

/// The controllers in the line for systemd's hierarchy: none with cgroup version 2 (`isUnified`).
inline const char* SystemdControllers(bool isUnified)
{
    return isUnified ? "" : "name=systemd";
}

/// Returns the unit whose processes have this path: the last folder, if its name holds a "."; otherwise empty.
std::string UnitOfCgroup(const std::string& path);

/// Returns the unit that a cgroup folder belongs to. systemd puts "_" before names that the kernel could take for its
/// own files (memory.slice, io.service) and before those that begin with "_": see cg_escape() in its cgroup-util.c.
std::string UnitOfFolder(const std::string& folder);

// The kernel's tables of mounts, swap files and exports: one line each, columns separated by blanks, blanks within
// paths as octal escapes ("\040").

/// Returns a path from such a table without its escapes.
std::string UnescapeOctal(std::string_view text);

/// Returns the paths in one column of such a table, counted from 0. Skips what does not begin with "/".
std::vector<std::string> PathsInColumn(std::string_view table, std::size_t column);

} // namespace MERO::Systemd
