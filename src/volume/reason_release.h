#pragma once

#include "core/log.h"

#include <string>
#include <vector>

namespace MERO::Systemd {

enum class AfterRelease { Start, LeaveStopped };

/// Takes one reason from services, clears their failed state, and starts them if they shall be; has the manager
/// reload when one of them has lost its last reason. Services with other reasons left are started too: what holds
/// them is for their drop-ins to say. `doing` is the log line's word. False when a reason could not be taken, or a
/// service not started; what becomes of the rest does not count.
bool ReleaseReason(SourceLine where, const char* doing, AfterRelease after, const std::string& reason,
                   const std::vector<std::string>& services, std::vector<std::string>& failed);

} // namespace MERO::Systemd
