#pragma once

#include "command_line/command.h"

#include <chrono>

namespace MERO::Tool {

using Seconds = std::chrono::duration<double>;

/// Adds the options that the program takes before and after every command.
void AddGeneralOptions(const Command& program);

void AddDryRun(const Command& command, bool& dryRun);

/// Each pattern has to be replaced by LoadedUnits() or UnitFiles().
void AddUnitsOrPatterns(const Command& command, Texts& units);

/// Has an argument refuse patterns.
void TakeNames(const Argument& argument);

void AddUnit(const Command& command, std::string& unit);
Argument AddUnits(const Command& command, Texts& units);

/// Has an argument take mount paths: "/volume1/", as shells complete it, is "/volume1".
void TakeVolumes(const Argument& argument);

/// Adds "--interval", over or in which a command measures.
void AddInterval(const Command& command, double& seconds, const std::string& help);

} // namespace MERO::Tool
