#pragma once

#include "diagnosis/report.h"

#include <functional>

namespace MERO::Tool {

/// An action of the library on units.
struct UnitAction {
    std::string verb; ///< the command's name
    Texts units;
    std::function<bool(const Texts& units, Texts& failed, const SystemctlObserver& observer)> run;
    bool diagnoses = false;   ///< the units should run afterwards: explains why one does not
    bool needsManager = true; ///< it needs a running systemd
};

/// Runs the action, shows its progress, prints systemctl's warnings, and returns the result for each unit.
std::vector<UnitResult> RunUnitAction(const UnitAction& action);

/// "start web smb"; for many units, their number.
std::string Title(const std::string& verb, const Texts& units);

} // namespace MERO::Tool
