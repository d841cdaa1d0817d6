#pragma once

#include "core/log.h"

#include <string>
#include <vector>

namespace MERO::Systemd {

/// Units that an action has stopped, or systemd along with those.
struct StoppedUnits {
    std::vector<std::string> units; ///< in start order
    std::vector<std::string> lost;  ///< units that cannot be started by hand
    std::vector<std::string> tried; ///< those of `units` whose start has just been tried
};

/// Starts the units that do not run. Logs those that still do not run afterwards, and returns them. `after` is the log
/// line's word for what had stopped them.
std::vector<std::string> StartAgain(SourceLine where, const StoppedUnits& stopped, const char* after);

} // namespace MERO::Systemd
