#pragma once

#include "output/output.h"

#include <string>

namespace MERO::Tool {

/// Whether this is a shell pattern and not a unit's name.
bool IsPattern(const std::string& unit);

/// The units, each pattern replaced by the loaded units that match it. Throws a CommandError if none does. If several
/// match and `verb` is not empty, prints on standard error which they are.
Texts LoadedUnits(const std::string& verb, const Texts& units);

/// The same for unit files. `options` are systemctl's.
Texts UnitFiles(const std::string& verb, const Texts& units, const Texts& options);

} // namespace MERO::Tool
