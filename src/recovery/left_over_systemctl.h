#pragma once

#include <string>

namespace MERO::Systemd {

/// Whether a `systemctl <verb> ... <unit>` of this library is running. It goes on if its caller is killed, and may not
/// have queued its jobs yet.
bool IsSystemctlRunning(const std::string& verb, const std::string& unit);

/// Waits until no such systemctl is running, for one second to five minutes: a killed caller may just have started it.
void AwaitLeftOverSystemctl(const std::string& verb, const std::string& unit);

} // namespace MERO::Systemd
