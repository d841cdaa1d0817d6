#pragma once

#include "output/output.h"

namespace MERO::Tool {

/// The names that this machine has for an argument, which is told by how the help calls it: "UNIT", "--type" ... None
/// for what cannot be listed.
Texts NamesFor(const std::string& argument);

} // namespace MERO::Tool
