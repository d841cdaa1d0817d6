#pragma once

#include <string>

namespace MERO::Tool {

/// Whether the slice exists. systemd loads a slice of any name: one without a unit file that neither runs nor is
/// tracked does not exist. True if systemd does not answer.
bool IsThere(const std::string& slice);

/// Ends everything that runs in a slice, and shows the progress. Refuses a slice that holds this process unless
/// `force`. Returns the exit code.
int KillSlice(const std::string& slice, bool force);

} // namespace MERO::Tool
