#pragma once

#include <string>

namespace MERO::Tool {

/// Whether the manager that systemctl would talk to runs: the system's, or an ordinary user's own. No process is
/// started for it.
bool IsManagerThere();

/// What to say when it does not.
std::string NoManagerText();

/// What to say of a unit that the manager does not know.
std::string NoSuchUnitText();

} // namespace MERO::Tool
