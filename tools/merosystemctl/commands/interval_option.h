#pragma once

#include <CLI/CLI.hpp>

#include <chrono>

namespace MERO::Tool {

using Seconds = std::chrono::duration<double>;

/// Adds "--interval", over or in which a command measures.
void AddIntervalOption(CLI::App& command, double& seconds, const std::string& description);

} // namespace MERO::Tool
