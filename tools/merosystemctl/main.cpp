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
    return first == "run-in" || first == "complete" || (first == "volume" && second == "unmount") ||
           (first == "cgroup" && second == "move");
}

/// Takes the words behind "--" from such a command line. Elsewhere "--" only ends the options.
Words TakeBehindDashes(Words& words)
{
    const auto dashes = std::find(words.begin(), words.end(), "--");
    if (!RunsCommand(words) || dashes == words.end()) {
        return {};
    }
    Words behind(dashes + 1, words.end());
    words.erase(dashes, words.end());
    return behind;
}

constexpr const char* kFooter = R"(Exit status:
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

/// What is wrong with a command line.
std::string UsageMessage(const CLI::App* program, const CLI::Error& error)
{
    const Words unknown = program->remaining(true);
    const bool isCommandMissing = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr && !unknown.empty();
    return "merosystemctl: " + (isCommandMissing ? "there is no command " + unknown.front() : error.what()) +
           "\nmerosystemctl: --help, also behind a command, tells what there is\n";
}

} // namespace

int main(int argc, char* argv[])
{
    std::setlocale(LC_CTYPE, ""); // for the width of characters
    CLI::App program("Manages the services of this machine through libmerosystemd.", "merosystemctl");
    program.set_version_flag("--version", "merosystemctl " MERO_VERSION);
    program.set_help_flag("-h,--help", "Print this help and exit");
    program.require_subcommand(1);
    program.failure_message(UsageMessage);
    program.get_formatter()->column_width(28);

    Words words(argv + std::min(argc, 1), argv + argc);
    const Words behindDashes = TakeBehindDashes(words);
    int exitCode = MERO::Tool::kDone;
    MERO::Tool::AddActionCommands(program, exitCode);
    MERO::Tool::AddStatusCommand(program, exitCode);
    MERO::Tool::AddWhyCommand(program, exitCode);
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
    MERO::Tool::AddCompleteCommand(program, behindDashes, exitCode);
    program.footer(kFooter); // last: a command would inherit it
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
