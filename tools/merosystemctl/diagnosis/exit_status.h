#pragma once

#include <string>

namespace MERO::Tool {

/// An exit code; if systemd uses it for a failed start, with its name and meaning: "203/EXEC (the program cannot be
/// run)".
std::string ExitStatusText(int status);

} // namespace MERO::Tool
