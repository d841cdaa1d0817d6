#pragma once

#include "core/log.h"

#include <string>
#include <vector>

namespace MERO::Systemd {

/// Units that an operation has stopped, or systemd along with them.
struct StoppedUnits {
    std::vector<std::string> units; ///< in the order of their starts
    std::vector<std::string> lost;  ///< those that cannot be started by hand
    std::vector<std::string> tried; ///< those of `units` whose start has just been tried
};

/// Starts those that do not run, and says in the log which of them do not run then, "after" what. Returns these.
std::vector<std::string> StartAgain(SourceLine where, const StoppedUnits& stopped, const char* after);

} // namespace MERO::Systemd
