#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "diagnosis/report.h"
#include "diagnosis/unit_properties.h"
#include "output/command_error.h"
#include "output/output.h"
#include "running/dry_run.h"
#include "running/unit_action.h"
#include "running/unit_patterns.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

#include <iostream>
#include <memory>

namespace MERO::Tool {
namespace {

struct MaintenanceArguments {
    Texts units;
    bool yes = false;
    bool dryRun = false;
    bool json = false;
};

/// Asks the user at the terminal.
bool IsWanted(const Texts& units)
{
    if (isatty(STDIN_FILENO) == 0) {
        throw CommandError(kUsage, "uninstall removes files and there is no terminal to ask at; nothing was done. "
                                   "Add --yes to do it");
    }
    std::cerr << "Stop " << ToCell(units) << " and remove all unit files, links and drop-ins? [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "yes";
}

int ResetFailed(const MaintenanceArguments& arguments)
{
    return PrintResults(RunUnitAction({.verb = "reset-failed",
                                       .units = LoadedUnits("reset-failed", arguments.units),
                                       .run =
                                           [](const Texts& units, Texts& failed, const SystemctlObserver& observer) {
                                               return MEROSystemdResetFailedObserved(units, failed, observer);
                                           }}),
                        arguments.json);
}

std::vector<Foreseen> ForeseeUninstall(const Texts& units)
{
    std::vector<Foreseen> changes = ForeseeStop(units);
    for (const UnitProperties& unit : AskProperties(units, "Id,FragmentPath,DropInPaths")) {
        for (const char* list : {"FragmentPath", "DropInPaths"}) {
            for (const std::string& file : unit.List(list)) {
                changes.push_back({unit["Id"], "loses its file", file});
            }
        }
    }
    return changes;
}

int Uninstall(const MaintenanceArguments& arguments)
{
    if (arguments.dryRun) {
        return PrintForeseen(ForeseeUninstall(arguments.units), arguments.json);
    }
    if (!arguments.yes && !IsWanted(arguments.units)) {
        PrintError("nothing was done");
        return kFailed;
    }
    return PrintResults(RunUnitAction({.verb = "uninstall",
                                       .units = arguments.units,
                                       .run =
                                           [](const Texts& units, Texts& failed, const SystemctlObserver& observer) {
                                               return MEROSystemdUninstallObserved(units, failed, observer);
                                           }}),
                        arguments.json);
}

} // namespace

void AddMaintenanceCommands(const Command& program)
{
    const auto arguments = std::make_shared<MaintenanceArguments>();
    const Command resetFailed = program.AddCommand("reset-failed", "Clear the failed state of units");
    AddUnitsOrPatterns(resetFailed, arguments->units);
    resetFailed.OnCall([arguments] { return ResetFailed(*arguments); });

    const Command uninstall = program.AddCommand("uninstall", "Stop units and remove all that belongs to them");
    TakeNames(AddUnits(uninstall, arguments->units));
    uninstall.AddFlag("-y,--yes", arguments->yes, "Do not ask first");
    AddDryRun(uninstall, arguments->dryRun);
    uninstall.OnCall([arguments] { return Uninstall(*arguments); });

    for (const Command& command : {resetFailed, uninstall}) {
        command.AddFlag("--json", arguments->json, "Print the result of each unit as a JSON array");
    }
}

} // namespace MERO::Tool
