#pragma once

#include <string>

namespace MERO::Tool {

/// Whether there is such a slice. systemd loads one of any name: what has no unit file, does not run and is not tracked
/// is none. When systemd cannot be asked, the slice may be there.
bool IsThere(const std::string& slice);

/// Ends all that runs in a slice and shows how far that is. A slice that holds this process is refused unless `force`.
/// Returns the exit code.
int KillSlice(const std::string& slice, bool force);

} // namespace MERO::Tool
