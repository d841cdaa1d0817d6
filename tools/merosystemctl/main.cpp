#include "commands.h"

#include <iostream>

namespace {

constexpr const char* kFooter = R"(Exit status:
  0  done; of several units, all of them. status: they are active
  1  failed; the units that failed are named on standard error.
     status: a unit is in the failed state
  2  wrong usage
  3  status: a unit is not active (stopped, masked ...)
  4  status: there is no such unit

Examples:
  merosystemctl start nfs.service smb
  merosystemctl stop --no-block nfs
  merosystemctl status nfs smb --json
  merosystemctl reason add volume1-check nfs
  merosystemctl jobs --json
  merosystemctl info nfs

'merosystemctl COMMAND --help' tells a command's options. Called by an ordinary
user, the user's own service manager is meant.)";

} // namespace

int main(int argc, char* argv[])
{
    CLI::App program("Manages the services of this machine through libmerosystemd.", "merosystemctl");
    program.set_version_flag("--version", "merosystemctl " MERO_VERSION);
    program.set_help_flag("-h,--help", "Print this help and exit");
    program.require_subcommand(1);
    program.get_formatter()->column_width(28);
    program.footer(kFooter);

    int exitCode = MERO::Tool::kDone;
    MERO::Tool::AddActionCommands(program, exitCode);
    MERO::Tool::AddStatusCommand(program, exitCode);
    MERO::Tool::AddJobsCommand(program, exitCode);
    MERO::Tool::AddInfoCommand(program, exitCode);
    MERO::Tool::AddQueryCommands(program, exitCode);
    MERO::Tool::AddEnablementCommands(program, exitCode);
    MERO::Tool::AddReasonCommands(program, exitCode);
    MERO::Tool::AddMaintenanceCommands(program, exitCode);
    try {
        program.parse(argc, argv);
    } catch (const CLI::Success& wanted) { // --help and --version
        return program.exit(wanted);
    } catch (const CLI::ParseError& error) {
        program.exit(error);
        return MERO::Tool::kUsage;
    }
    return std::cout.flush() ? exitCode : MERO::Tool::kFailed;
}
