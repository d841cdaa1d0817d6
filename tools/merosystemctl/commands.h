#pragma once

#include <CLI/CLI.hpp>

namespace MERO::Tool {

/// Exit codes, as --help lists them.
enum ExitCode { kDone = 0, kFailed = 1, kUsage = 2, kNotActive = 3, kNoSuchUnit = 4, kTimedOut = 5, kCannotRun = 6 };

// Each adds its commands to the program. A command that was called leaves its exit code in `exitCode`.
void AddActionCommands(CLI::App& program, int& exitCode);
void AddEnablementCommands(CLI::App& program, int& exitCode);
void AddInfoCommand(CLI::App& program, int& exitCode);
void AddIsolateCommands(CLI::App& program, int& exitCode);
void AddJobsCommand(CLI::App& program, int& exitCode);
void AddMaintenanceCommands(CLI::App& program, int& exitCode);
void AddQueryCommands(CLI::App& program, int& exitCode);
void AddReasonCommands(CLI::App& program, int& exitCode);
void AddStatusCommand(CLI::App& program, int& exitCode);

} // namespace MERO::Tool
