#pragma once

#include "output/output.h"

#include <merosystemd/properties.hpp>

#include <map>
#include <string>

namespace MERO::Tool {

/// Reads properties of units from the manager that --system chooses. Throws a CommandError if systemd does not answer,
/// or refuses a unit's name.
std::map<std::string, Systemd::ShownUnit> AskUnits(const Texts& units, const Texts& properties);

} // namespace MERO::Tool
