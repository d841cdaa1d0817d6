#pragma once

#include "command_line/command_line.h"

namespace MERO::Tool {

/// What can stand in the place of the last of `words`, which are a command line without the program's name: commands,
/// options, or the names that the machine has for what is wanted there. Those that begin as the word does, sorted.
std::vector<Word> Candidates(const CommandLine& commandLine, Texts words);

} // namespace MERO::Tool
