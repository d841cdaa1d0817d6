#pragma once

#include "output/output.h"

#include <CLI/CLI.hpp>

namespace MERO::Tool {

// Each adds its commands to the program. A command that was called leaves its exit code in `exitCode`. `behindDashes`
// are the words of a command that the program is to run.
void AddActionCommands(CLI::App& program, int& exitCode);
void AddCgroupCommands(CLI::App& program, const Texts& behindDashes, int& exitCode);
void AddCompleteCommand(CLI::App& program, const Texts& behindDashes, int& exitCode);
void AddEnablementCommands(CLI::App& program, int& exitCode);
void AddInfoCommand(CLI::App& program, int& exitCode);
void AddIsolateCommands(CLI::App& program, const Texts& behindDashes, int& exitCode);
void AddJobsCommand(CLI::App& program, int& exitCode);
void AddMaintenanceCommands(CLI::App& program, int& exitCode);
void AddProcessCommands(CLI::App& program, int& exitCode);
void AddQueryCommands(CLI::App& program, int& exitCode);
void AddReasonCommands(CLI::App& program, int& exitCode);
void AddSliceCommands(CLI::App& program, int& exitCode);
void AddStatusCommand(CLI::App& program, int& exitCode);
void AddVolumeCommands(CLI::App& program, const Texts& behindDashes, int& exitCode);
void AddVolumeUnmountCommand(CLI::App& volume, const Texts& behindDashes, int& exitCode);
void AddWhyCommand(CLI::App& program, int& exitCode);

} // namespace MERO::Tool
