#pragma once

#include <string>
#include <string_view>

/// What the texts in /proc tell of a process and of the processors: see proc(5).
namespace MERO::Systemd {

/// The name of the script that an interpreter runs, from the first line of its "cmdline".
std::string ScriptName(std::string_view line);

/// The process' ticks, from the line of its "stat".
bool ProcessTicks(std::string_view line, unsigned long& user, unsigned long& system);

/// The ticks of all processors, from the first line of /proc/stat.
bool ProcessorTicks(std::string_view line, unsigned long& total);

/// In kB, from whole lines of the process' "smaps".
unsigned long SumOfPss(std::string_view lines);

/// What the process had storage read and write, from its "io". False unless both are there.
bool IoBytes(std::string_view text, unsigned long& readBytes, unsigned long& writeBytes);

} // namespace MERO::Systemd
