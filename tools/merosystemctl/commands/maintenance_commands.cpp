#include "commands/commands.h"
#include "commands/usual_arguments.h"
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

void AddMaintenanceCommands(const Command& program)
{
    struct Arguments {
        Texts units;
        bool yes = false;
    };
    const auto arguments = std::make_shared<Arguments>();

    const Command resetFailed = program.AddCommand("reset-failed", "Clear the failed state of units");
    resetFailed.OnCall([arguments] {
        Texts failed;
        const WatchedWork work = Watch("reset-failed " + ToCell(arguments->units),
                                       [&](Progress&) { return MEROSystemdResetFailed(arguments->units, failed); });
        return ReportUnits(work.done, "reset-failed", failed, work.error);
    });

    const Command uninstall = program.AddCommand("uninstall", "Stop units and remove all that belongs to them");
    uninstall.AddFlag("-y,--yes", arguments->yes, "Do not ask first on a terminal");
    uninstall.OnCall([arguments]() -> int {
        if (!arguments->yes && !IsWanted(arguments->units)) {
            PrintError("nothing was done");
            return kFailed;
        }
        Texts failed;
        const WatchedWork work = Watch("uninstall " + ToCell(arguments->units),
                                       [&](Progress&) { return MEROSystemdUninstall(arguments->units, failed); });
        return ReportUnits(work.done, "uninstall", failed, work.error);
    });

    for (const Command& command : {resetFailed, uninstall}) {
        AddUnits(command, arguments->units);
    }
}

} // namespace MERO::Tool
