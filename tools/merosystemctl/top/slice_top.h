#pragma once

#include <chrono>

namespace MERO::Tool {

/// Shows what the tracked slices use, again and again: `count` times, for ever with 0. The exit code.
int ShowTop(std::chrono::duration<double> interval, unsigned count, bool json);

} // namespace MERO::Tool
