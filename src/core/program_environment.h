#pragma once

#include <vector>

namespace MERO::Systemd {

/// The host's environment as programs get it whose output is read: without the variables that change what systemctl
/// and ps print. NULL-terminated; the texts stay the host's.
std::vector<char*> ProgramEnvironment();

} // namespace MERO::Systemd
