#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace MERO::Tool {

/// Has a command's usage line end with what the parser does not see, such as "-- COMMAND...".
void SetUsageTail(CLI::App& command, const std::string& tail);

} // namespace MERO::Tool
