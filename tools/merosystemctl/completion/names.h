#pragma once

#include "command_line/command_line.h"

namespace MERO::Tool {

/// The names on this machine that fit the expected operand or value; empty if such names cannot be listed.
std::vector<Word> NamesFor(const Expected& expected);

} // namespace MERO::Tool
