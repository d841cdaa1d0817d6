#pragma once

#include <cstddef>

namespace MERO::Tool {

/// The width of the terminal that a descriptor refers to; 80 if it reports none.
std::size_t TerminalWidth(int descriptor);

/// Whether the program's locale can print more than ASCII.
bool HasUtf8();

} // namespace MERO::Tool
