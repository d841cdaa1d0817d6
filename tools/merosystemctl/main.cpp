#include "commands/commands.h"
#include "diagnosis/dialect.h"

#include <algorithm>
#include <clocale>
#include <iostream>

namespace {

constexpr const char* kNote = R"(Exit status:
  0  done; of several units, all of them
  1  failed; standard error names what, and says what to do
  2  wrong usage: nothing was done
  3  not active, or another "no" to what was asked
  4  there is no such unit
  5  a lock is held, or what was waited for took too long; try again
  6  /usr/bin/systemctl cannot be run
run-in, volume unmount and cgroup move end with their command's exit code when
the command fails.

Examples:
  merosystemctl start --verify nfs.service smb
  merosystemctl why nfs
  merosystemctl status nfs smb --json
  merosystemctl reason add volume1-check nfs
  merosystemctl run-in rescue.target -- fsck -y /dev/sdb1
  merosystemctl volume unmount /volume1 -- umount -l /volume1
  merosystemctl slice top

'merosystemctl COMMAND --help' tells a command's options. Called by an ordinary
user, the user's own service manager is meant.)";

} // namespace

int main(int argc, char* argv[])
{
    std::setlocale(LC_CTYPE, ""); // for the width of characters
    MERO::Tool::CommandLine commandLine({
        .program = "merosystemctl",
        .help = "Manages the services of this machine through libmerosystemd.",
        .version = MERO_VERSION,
        .note = kNote,
        .before = MERO::Tool::WarnOfDialect,
    });
    const MERO::Tool::Command program = commandLine.Program();
    MERO::Tool::AddActionCommands(program);
    MERO::Tool::AddStatusCommand(program);
    MERO::Tool::AddWhyCommand(program);
    MERO::Tool::AddJobsCommand(program);
    MERO::Tool::AddInfoCommand(program);
    MERO::Tool::AddQueryCommands(program);
    MERO::Tool::AddEnablementCommands(program);
    MERO::Tool::AddReasonCommands(program);
    MERO::Tool::AddIsolateCommands(program);
    MERO::Tool::AddVolumeCommands(program);
    MERO::Tool::AddCgroupCommands(program);
    MERO::Tool::AddSliceCommands(program);
    MERO::Tool::AddProcessCommands(program);
    MERO::Tool::AddMaintenanceCommands(program);
    MERO::Tool::AddCompleteCommand(commandLine);
    const int exitCode = commandLine.Run({argv + std::min(argc, 1), argv + argc});
    return std::cout.flush() ? exitCode : MERO::Tool::kFailed;
}
