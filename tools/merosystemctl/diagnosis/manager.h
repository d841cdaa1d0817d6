#pragma once

#include <string>

namespace MERO::Tool {

/// Whether the manager that systemctl would use is running: the system's, or an ordinary user's own. Starts no process.
bool IsManagerThere();

/// The message if it is not running.
std::string NoManagerText();

/// The message about a unit that the manager does not know.
std::string NoSuchUnitText();

} // namespace MERO::Tool
