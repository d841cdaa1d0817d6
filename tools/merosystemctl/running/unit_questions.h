#pragma once

#include "output/output.h"

#include <merosystemd/properties.hpp>

#include <map>
#include <string>

namespace MERO::Tool {

/// Asks for properties of units, of the manager that --system chooses. Throws a CommandError when systemd does not
/// answer, or could not be asked for one of the units.
std::map<std::string, Systemd::ShownUnit> AskUnits(const Texts& units, const Texts& properties);

} // namespace MERO::Tool
