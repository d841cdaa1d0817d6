#pragma once

#include "core/log.h"

#include <string>
#include <vector>

namespace MERO::Systemd {

/// In what the actions of a unit differ: systemctl's verb, the words of the log lines "[units] <words>", and the event
/// that is written to the event log, whatever came of the action; 0: none.
struct ActionWords {
    const char* verb;
    const char* doing;
    const char* done;
    const char* failed;
    int event = 0;
};

/// Runs one action on all of `vecUnits` and appends those that failed to `failed`, which may be one of the other lists:
/// the ones that systemctl named, or all when it was not run. An empty list is an invalid argument. `where` is the
/// place that the log lines name.
bool RunUnitAction(SourceLine where, const ActionWords& words, const std::vector<std::string>& options,
                   const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);

} // namespace MERO::Systemd
