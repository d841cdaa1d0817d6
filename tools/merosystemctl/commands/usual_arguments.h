#pragma once

#include "command_line/command.h"

#include <chrono>

namespace MERO::Tool {

using Seconds = std::chrono::duration<double>;

void AddUnit(const Command& command, std::string& unit);
void AddUnits(const Command& command, Texts& units);

/// What is wrong with a mount path: it begins with "/" and does not end with it.
std::string VolumeFault(const std::string& volume);

/// Adds "--interval", over or in which a command measures.
void AddInterval(const Command& command, double& seconds, const std::string& help);

} // namespace MERO::Tool
