#include "commands/commands.h"

#include <algorithm>
#include <clocale>
#include <iostream>

namespace {

using Words = std::vector<std::string>;

/// Whether a command line is one of the commands that run another command.
bool RunsCommand(const Words& words)
{
    const std::string first = words.empty() ? "" : words[0];
    const std::string second = words.size() < 2 ? "" : words[1];
    return first == "run-in" || (first == "volume" && second == "unmount") || (first == "cgroup" && second == "move");
}

/// Takes the words behind "--" from such a command line. Elsewhere "--" only ends the options.
Words TakeBehindDashes(Words& words)
{
    const auto dashes = std::find(words.begin(), words.end(), "--");
    if (!RunsCommand(words) || dashes == words.end()) {
        return {};
    }
    const Words behind(dashes + 1, words.end());
    words.erase(dashes, words.end());
    return behind;
}

constexpr const char* kFooter = R"(Exit status:
  0  done; of several units, all of them. status: they are active
  1  failed; the units that failed are named on standard error.
     status: a unit is in the failed state
     isolate-state: an isolation was killed, or its state cannot be read
     volume unmount: a service does not run again
  2  wrong usage
  3  status: a unit is not active (stopped, masked ...)
     isolate-state: no isolation is going on
     slice list, slice top: no slice is tracked
  4  status, volume dependency: there is no such unit
     slice show: there is no such slice, or it has no name
  5  isolate: done, but units were still stopping after five minutes
     volume register, unregister: another process is writing; try again
  6  isolate: done, but systemd's jobs could not be listed
run-in, volume unmount and cgroup move end with their command's exit code when
the command fails.

Examples:
  merosystemctl start nfs.service smb
  merosystemctl stop --no-block nfs
  merosystemctl status nfs smb --json
  merosystemctl reason add volume1-check nfs
  merosystemctl jobs --json
  merosystemctl run-in rescue.target -- fsck -y /dev/sdb1
  merosystemctl volume plan /volume1
  merosystemctl volume unmount /volume1 -- umount -l /volume1
  merosystemctl info nfs
  merosystemctl slice top

'merosystemctl COMMAND --help' tells a command's options. Called by an ordinary
user, the user's own service manager is meant.)";

} // namespace

int main(int argc, char* argv[])
{
    std::setlocale(LC_CTYPE, ""); // for the width of characters
    CLI::App program("Manages the services of this machine through libmerosystemd.", "merosystemctl");
    program.set_version_flag("--version", "merosystemctl " MERO_VERSION);
    program.set_help_flag("-h,--help", "Print this help and exit");
    program.require_subcommand(1);
    program.get_formatter()->column_width(28);
    program.footer(kFooter);

    Words words(argv + std::min(argc, 1), argv + argc);
    const Words behindDashes = TakeBehindDashes(words);
    int exitCode = MERO::Tool::kDone;
    MERO::Tool::AddActionCommands(program, exitCode);
    MERO::Tool::AddStatusCommand(program, exitCode);
    MERO::Tool::AddJobsCommand(program, exitCode);
    MERO::Tool::AddInfoCommand(program, exitCode);
    MERO::Tool::AddQueryCommands(program, exitCode);
    MERO::Tool::AddEnablementCommands(program, exitCode);
    MERO::Tool::AddReasonCommands(program, exitCode);
    MERO::Tool::AddIsolateCommands(program, behindDashes, exitCode);
    MERO::Tool::AddVolumeCommands(program, behindDashes, exitCode);
    MERO::Tool::AddCgroupCommands(program, behindDashes, exitCode);
    MERO::Tool::AddSliceCommands(program, exitCode);
    MERO::Tool::AddProcessCommands(program, exitCode);
    MERO::Tool::AddMaintenanceCommands(program, exitCode);
    try {
        std::reverse(words.begin(), words.end()); // as the parser wants them
        program.parse(words);
    } catch (const CLI::Success& wanted) { // --help and --version
        return program.exit(wanted);
    } catch (const CLI::ParseError& error) {
        program.exit(error);
        return MERO::Tool::kUsage;
    }
    return std::cout.flush() ? exitCode : MERO::Tool::kFailed;
}
