#pragma once

#include <string>

namespace MERO::Tool {

/// Ends all that runs in a slice and shows how far that is. A slice that holds this process is refused unless `force`.
/// Returns the exit code.
int KillSlice(const std::string& slice, bool force);

} // namespace MERO::Tool
