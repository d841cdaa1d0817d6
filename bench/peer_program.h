#pragma once

#include <string>
#include <vector>

namespace MERO::Bench {

/// Runs a program to its end, its output thrown away. False when it cannot be run or fails.
bool RunProgram(const std::vector<std::string>& words);

/// Runs a program with posix_spawn and reads what it prints to its end, as little as can be done: the limit for
/// whoever wants a program's answer. The program's exit code does not matter.
bool ReadProgram(const std::vector<std::string>& words, std::string& output);

/// What `systemctl` is for this process and its children: `program`, which must be executable. Ends the program when
/// that cannot be brought about.
void ReplaceSystemctl(const std::string& program);

} // namespace MERO::Bench
