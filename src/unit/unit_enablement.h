#pragma once

#include "unit/unit_action.h"

namespace MERO::Systemd {

// The failed list may be one of the other lists.

/// Runs enable, disable or reenable once for all of `vecUnits`, and sets the flag of each, whatever that said. When
/// the run fails, all of them are appended to `failed`: systemctl does not tell which one did.
bool RunEnablement(SourceLine where, const ActionWords& words, const std::vector<std::string>& options,
                   const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);

/// Runs mask or unmask once for each of `vecUnits`, and appends those that failed to `failed`.
bool RunMasking(SourceLine where, const ActionWords& words, bool runtime, const std::vector<std::string>& vecUnits,
                std::vector<std::string>& failed);

} // namespace MERO::Systemd
