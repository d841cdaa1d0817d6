#pragma once

#include "output/output.h"

#include <string>

namespace MERO::Tool {

/// Whether it is a pattern of the shell, and not a unit's name.
bool IsPattern(const std::string& unit);

/// The units, and in place of each pattern the loaded units that match it. Throws a CommandError when none does. Of
/// more than one match `verb`, when there is one, says on standard error which they are.
Texts LoadedUnits(const std::string& verb, const Texts& units);

/// The same of unit files. `options` are systemctl's.
Texts UnitFiles(const std::string& verb, const Texts& units, const Texts& options);

} // namespace MERO::Tool
