#pragma once

#include <string>

namespace MERO::Systemd {

/// Whether a `systemctl <verb> ... <unit>` of this library runs anywhere. It goes on when its caller is killed, and may
/// not have queued its jobs yet.
bool IsSystemctlRunning(const std::string& verb, const std::string& unit);

/// Waits for its end, five minutes at most; at least as long as a caller that was killed may have needed to start it.
void AwaitLeftOverSystemctl(const std::string& verb, const std::string& unit);

} // namespace MERO::Systemd
