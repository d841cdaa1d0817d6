#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "diagnosis/dialect.h"
#include "diagnosis/unit_names.h"
#include "output/output.h"
#include "running/general_options.h"

#include <algorithm>
#include <clocale>
#include <iostream>

namespace {

constexpr const char* kNote = R"(Exit status:
  0  done; for several units, all of them
  1  failed; standard error says what, and what to do
  2  wrong usage: nothing was done
  3  not active, or another "no" as the answer
  4  there is no such unit
  5  a lock is held, or a wait took too long; try again
  6  systemd does not run, or /usr/bin/systemctl cannot be run
run-in, volume unmount and cgroup move exit with their command's exit code when
the command fails.

Examples:
  merosystemctl start --verify nfs.service smb
  merosystemctl why nfs
  merosystemctl status 'nfs*' smb --json
  merosystemctl reason add volume1-check nfs
  merosystemctl run-in rescue.target -- fsck -y /dev/sdb1
  merosystemctl volume unmount /volume1 -- umount -l /volume1
  merosystemctl slice top

For ordinary users it controls their own (--user) manager.
'merosystemctl COMMAND --help' lists a command's options.)";

// Commands that systemctl has and this program does not.
constexpr const char* kElsewhere =
    "add-requires add-wants bind cancel cat clean condreload condrestart condstop daemon-reexec default edit "
    "emergency exit freeze get-default halt hibernate hybrid-sleep import-environment is-system-running kexec "
    "kill link list-automounts list-dependencies list-machines list-paths list-sockets list-timers log-level "
    "log-target mount-image poweroff preset preset-all reboot rescue revert service-log-level "
    "service-log-target service-watchdogs set-default set-environment set-property show-environment soft-reboot "
    "suspend "
    "suspend-then-hibernate switch-root thaw try-reload-or-restart unset-environment";

const std::vector<MERO::Tool::Section> kSections{
    {"Units",
     MERO::Tool::SplitWords("start stop restart try-restart reload reload-or-restart reset-failed overview status why "
                            "show is-active is-enabled is-failed info list-units list-unit-files list-services enable "
                            "disable reenable mask unmask uninstall")},
    {"Holds", {"reason"}},
    {"Volumes", {"volume"}},
    {"Isolation", {"isolate", "isolate-state", "run-in"}},
    {"Resources", {"cgroup", "slice", "process"}},
    {"Manager", {"jobs", "list-jobs", "daemon-reload", "default-target", "doctor"}},
};

const std::map<std::string, MERO::Tool::Texts> kLimited{
    {"--system", {"show", "is-active", "is-enabled", "is-failed", "status", "why", "list-units", "list-unit-files"}},
    {"--timeout",
     {"start", "stop", "restart", "try-restart", "reload-or-restart", "enable", "disable", "mask", "reason add",
      "reason release"}},
};

void AddCommands(MERO::Tool::CommandLine& commandLine)
{
    const MERO::Tool::Command program = commandLine.Program();
    MERO::Tool::AddGeneralOptions(program);
    MERO::Tool::AddActionCommands(program); // the help keeps this order
    MERO::Tool::AddOverviewCommand(program);
    MERO::Tool::AddStatusCommand(program);
    MERO::Tool::AddWhyCommand(program);
    MERO::Tool::AddShowCommand(program);
    MERO::Tool::AddStateCommands(program);
    MERO::Tool::AddInfoCommand(program);
    MERO::Tool::AddQueryCommands(program);
    MERO::Tool::AddEnablementCommands(program);
    MERO::Tool::AddMaintenanceCommands(program);
    MERO::Tool::AddReasonCommands(program);
    MERO::Tool::AddVolumeCommands(program);
    MERO::Tool::AddIsolateCommands(program);
    MERO::Tool::AddCgroupCommands(program);
    MERO::Tool::AddSliceCommands(program);
    MERO::Tool::AddProcessCommands(program);
    MERO::Tool::AddJobsCommand(program);
    MERO::Tool::AddManagerCommands(program);
    MERO::Tool::AddDoctorCommand(program);
    MERO::Tool::AddCompleteCommand(commandLine);
}

} // namespace

int main(int argc, char* argv[])
{
    std::setlocale(LC_CTYPE, ""); // WidthOf() measures characters in the user's locale
    MERO::Tool::CommandLine commandLine({
        .program = "merosystemctl",
        .help = "Manages the services of this machine through libmerosystemd.",
        .version = MERO_VERSION,
        .note = kNote,
        .before =
            [] {
                MERO::Tool::SetLegend(!MERO::Tool::General().noLegend);
                MERO::Tool::WarnOfDialect();
            },
        .sections = kSections,
        .limited = kLimited,
        .elsewhere = MERO::Tool::SplitWords(kElsewhere),
        .whenNothing = "overview",
        .shorthands = {{"--failed", "list-units"}},
        .addCommands = AddCommands,
    });
    const int exitCode = commandLine.Run({argv + std::min(argc, 1), argv + argc});
    return std::cout.flush() ? exitCode : MERO::Tool::kFailed;
}
