#pragma once

namespace MERO::Sandbox {

/// Takes from what the calling process will execute the capabilities with which it could change the host:
/// its clock, kernel, hardware, network and logs. Throws std::system_error.
void DropHostCapabilities();

} // namespace MERO::Sandbox
