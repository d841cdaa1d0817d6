#pragma once

#include <string>

namespace MERO::Tool {

/// Ends all that runs in a slice and says how far that is. The exit code.
int KillSlice(const std::string& slice);

} // namespace MERO::Tool
