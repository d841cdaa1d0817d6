#pragma once

#include <string>

namespace MERO::Tool {

/// An exit code with its name, and what it means, where it is one that systemd gives to what it cannot run:
/// "203/EXEC (the program cannot be run)".
std::string ExitStatusText(int status);

} // namespace MERO::Tool
