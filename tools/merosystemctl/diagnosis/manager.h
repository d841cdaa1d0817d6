#pragma once

#include <string>

namespace MERO::Tool {

/// Whether the manager that systemctl would talk to runs: the system's, or an ordinary user's own. No process is
/// started for it.
bool IsManagerThere();

/// What to say when it does not.
std::string NoManagerText();

} // namespace MERO::Tool
