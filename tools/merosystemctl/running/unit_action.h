#pragma once

#include "diagnosis/report.h"

#include <functional>

namespace MERO::Tool {

/// A change of units that the library makes.
struct UnitAction {
    std::string verb; ///< as the command is called
    Texts units;
    std::function<bool(const Texts& units, Texts& failed, const SystemctlObserver& observer)> run;
    bool diagnoses = false;   ///< the units should run afterwards: says of each why it does not
    bool needsManager = true; ///< systemd must run for it
};

/// Makes the change, shows its progress, prints what systemctl warns of, and says what came of each unit.
std::vector<UnitResult> RunUnitAction(const UnitAction& action);

/// "start web smb", and of many units their number.
std::string Title(const std::string& verb, const Texts& units);

} // namespace MERO::Tool
