#pragma once

#include "completion/unit_files.h"

#include <map>
#include <string>

namespace MERO::Tool {

/// A unit that the manager has loaded, or that has a file.
struct KnownUnit {
    std::string load, active, description; ///< empty: it is not loaded
    UnitFile file;
};

/// By name. What cannot be asked or read is left out.
std::map<std::string, KnownUnit> KnownUnits();

/// Whether `command`, such as "stop", has something to do for the unit.
bool IsOffered(const std::string& command, const std::string& name, const KnownUnit& unit);

} // namespace MERO::Tool
