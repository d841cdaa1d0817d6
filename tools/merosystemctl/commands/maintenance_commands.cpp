#include "commands/commands.h"
#include "diagnosis/report.h"
#include "output/output.h"
#include "running/watched_work.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

#include <iostream>
#include <memory>

namespace MERO::Tool {
namespace {

/// Asks the person at the terminal; without one nobody is there to be asked.
bool IsWanted(const Texts& units)
{
    if (isatty(STDIN_FILENO) == 0) {
        return true;
    }
    std::cerr << "Stop " << ToCell(units) << " and remove all unit files, links and drop-ins? [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "yes";
}

} // namespace

void AddMaintenanceCommands(CLI::App& program, int& exitCode)
{
    struct Arguments {
        Texts units;
        bool yes = false;
    };
    const auto arguments = std::make_shared<Arguments>();

    CLI::App* resetFailed = program.add_subcommand("reset-failed", "Clear the failed state of units");
    resetFailed->callback([arguments, &exitCode] {
        Texts failed;
        const WatchedWork work = Watch("reset-failed " + ToCell(arguments->units),
                                       [&](Progress&) { return MEROSystemdResetFailed(arguments->units, failed); });
        exitCode = ReportUnits(work.done, "reset-failed", failed, work.error);
    });

    CLI::App* daemonReload = program.add_subcommand("daemon-reload", "Have systemd read its unit files again");
    daemonReload->callback([&exitCode] {
        const WatchedWork work = Watch("daemon-reload", [](Progress&) { return MEROSystemdDaemonReload(); });
        exitCode = work.done ? kDone : ReportFailure("daemon-reload", work.error);
    });

    CLI::App* uninstall = program.add_subcommand("uninstall", "Stop units and remove all that belongs to them");
    uninstall->add_flag("-y,--yes", arguments->yes, "Do not ask first on a terminal");
    uninstall->callback([arguments, &exitCode] {
        if (!arguments->yes && !IsWanted(arguments->units)) {
            PrintError("nothing was done");
            exitCode = kFailed;
            return;
        }
        Texts failed;
        const WatchedWork work = Watch("uninstall " + ToCell(arguments->units),
                                       [&](Progress&) { return MEROSystemdUninstall(arguments->units, failed); });
        exitCode = ReportUnits(work.done, "uninstall", failed, work.error);
    });

    for (CLI::App* command : {resetFailed, uninstall}) {
        command->add_option("UNIT", arguments->units, "Units; a name without a type means a service")->required();
    }
}

} // namespace MERO::Tool
