#pragma once

#include "command_line/command_line.h"

namespace MERO::Tool {

/// The names that this machine has for the operand or the value that is expected. None for what cannot be listed.
std::vector<Word> NamesFor(const Expected& expected);

} // namespace MERO::Tool
