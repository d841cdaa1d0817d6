#pragma once

namespace MERO::Systemd {

/// Has systemctl work on the unit files below the root directory, without the manager. ("/" alone would be no root.)
inline constexpr const char* kOfflineOption = "--root=/.";

} // namespace MERO::Systemd
