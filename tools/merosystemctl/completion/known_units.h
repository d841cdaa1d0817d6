#pragma once

#include "completion/unit_files.h"

#include <map>
#include <string>

namespace MERO::Tool {

/// A unit that is loaded or has a file.
struct KnownUnit {
    std::string load, active, description; ///< empty: not loaded
    UnitFile file;
};

/// Returns the units by name. Leaves out what cannot be queried or read.
std::map<std::string, KnownUnit> KnownUnits();

/// Whether `command`, such as "stop", would do something to the unit.
bool IsOffered(const std::string& command, const std::string& name, const KnownUnit& unit);

} // namespace MERO::Tool
