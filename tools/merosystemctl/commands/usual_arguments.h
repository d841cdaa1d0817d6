#pragma once

#include "command_line/command.h"

#include <chrono>

namespace MERO::Tool {

using Seconds = std::chrono::duration<double>;

/// Adds the options that the program takes before and after every command.
void AddGeneralOptions(const Command& program);

void AddDryRun(const Command& command, bool& dryRun);

/// The command must replace each pattern with LoadedUnits() or UnitFiles().
void AddUnitsOrPatterns(const Command& command, Texts& units);

/// Makes an argument refuse patterns.
void TakeNames(const Argument& argument);

void AddUnit(const Command& command, std::string& unit);
Argument AddUnits(const Command& command, Texts& units);

/// Makes an argument take mount paths. "/volume1/", as shells complete it, means "/volume1".
void TakeVolumes(const Argument& argument);

/// Adds "--interval": how long a command measures, or how often.
void AddInterval(const Command& command, double& seconds, const std::string& help);

} // namespace MERO::Tool
