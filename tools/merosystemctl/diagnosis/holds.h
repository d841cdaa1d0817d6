#pragma once

#include "diagnosis/diagnosis.h"
#include "diagnosis/unit_properties.h"

#include <string>
#include <vector>

namespace MERO::Tool {

/// The name with its type, as reasons are kept under; only services have them.
std::string ServiceName(const std::string& unit);

/// Its own name, if systemd knows it by another one: what keeps it from starting does not see the reasons of an alias.
/// Its Id must have been asked for.
std::string OwnName(const std::string& name, const UnitProperties& unit);
std::string OwnName(const std::string& name, const std::string& id);

/// The reasons that hold a unit, sorted, since when, and how each is taken from it. What is no service has none.
std::vector<Cause> HoldsOf(const std::string& unit);

} // namespace MERO::Tool
