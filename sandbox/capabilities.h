#pragma once

namespace MERO::Sandbox {

/// Drops, for the programs that the calling process will execute, the capabilities to change the host: its clock,
/// kernel, hardware, network and logs. Throws std::system_error.
void DropHostCapabilities();

} // namespace MERO::Sandbox
