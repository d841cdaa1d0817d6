#pragma once

#include "command_line/command_line.h"

namespace MERO::Tool {

/// The completions of the last of `words` (a command line without the program's name): commands, options, option
/// values, or names on this machine. Sorted.
std::vector<Word> Candidates(const CommandLine& commandLine, Texts words);

} // namespace MERO::Tool
