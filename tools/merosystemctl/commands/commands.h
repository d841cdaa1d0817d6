#pragma once

#include "command_line/command_line.h"

namespace MERO::Tool {

// Each adds its commands to the program or to a group.
void AddActionCommands(const Command& program);
void AddCgroupCommands(const Command& program);
void AddCompleteCommand(CommandLine& commandLine);
void AddDoctorCommand(const Command& program);
void AddEnablementCommands(const Command& program);
void AddInfoCommand(const Command& program);
void AddIsolateCommands(const Command& program);
void AddJobsCommand(const Command& program);
void AddMaintenanceCommands(const Command& program);
void AddManagerCommands(const Command& program);
void AddOverviewCommand(const Command& program);
void AddProcessCommands(const Command& program);
void AddQueryCommands(const Command& program);
void AddReasonCommands(const Command& program);
void AddShowCommand(const Command& program);
void AddSliceCommands(const Command& program);
void AddStateCommands(const Command& program);
void AddStatusCommand(const Command& program);
void AddVolumeCommands(const Command& program);
void AddVolumeUnmountCommand(const Command& volume);
void AddWhyCommand(const Command& program);

} // namespace MERO::Tool
