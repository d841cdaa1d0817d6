#pragma once

#include "diagnosis/diagnosis.h"
#include "diagnosis/unit_properties.h"

#include <string>
#include <vector>

namespace MERO::Tool {

/// The name with ".service", under which reasons are stored; only services have them.
std::string ServiceName(const std::string& unit);

/// The unit's own name if `name` is an alias: a start checks the reasons under the own name only. Its Id must have been
/// queried.
std::string OwnName(const std::string& name, const UnitProperties& unit);
std::string OwnName(const std::string& name, const std::string& id);

/// The reasons that hold a unit, sorted, since when, and how to release each. Empty for units that are no services.
std::vector<Cause> HoldsOf(const std::string& unit);

} // namespace MERO::Tool
