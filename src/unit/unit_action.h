#pragma once

#include "core/log.h"

#include <string>
#include <vector>

namespace MERO::Systemd {

/// In what the actions of a unit differ: systemctl's verb, and the words of the log lines "[units] <words>".
struct ActionWords {
    const char* verb;
    const char* doing;
    const char* done;
    const char* failed;
};

/// Runs one action on all of `vecUnits` and appends those that failed to `failed`: the ones that systemctl named, or
/// all when it was not run. An empty list is an invalid argument. `where` is the place that the log lines name.
bool RunUnitAction(SourceLine where, const ActionWords& words, const std::vector<std::string>& options,
                   const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);

} // namespace MERO::Systemd
