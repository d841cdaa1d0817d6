#pragma once

#include <string>
#include <vector>

namespace MERO::Bench {

/// Runs a program to its end and discards its output. Returns false if it cannot be run or fails.
bool RunProgram(const std::vector<std::string>& words);

/// Runs a program with posix_spawn and reads its output to the end, with as little work as possible: the lower limit
/// for getting a program's answer. The program's exit code does not matter.
bool ReadProgram(const std::vector<std::string>& words, std::string& output);

/// Makes `program`, an executable file, the `systemctl` of this process and its children. Exits if that fails.
void ReplaceSystemctl(const std::string& program);

} // namespace MERO::Bench
