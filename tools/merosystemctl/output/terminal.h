#pragma once

#include <cstddef>

namespace MERO::Tool {

/// The columns of the terminal that a descriptor leads to; 80 when it does not say.
std::size_t TerminalWidth(int descriptor);

/// Whether the program's locale can print what is not ASCII.
bool HasUtf8();

} // namespace MERO::Tool
