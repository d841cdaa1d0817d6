#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "diagnosis/dialect.h"
#include "diagnosis/holds.h"
#include "diagnosis/report.h"
#include "diagnosis/verification.h"
#include "output/output.h"
#include "running/dry_run.h"
#include "running/unit_action.h"
#include "running/unit_patterns.h"

#include <merosystemd/systemd.hpp>

#include <memory>

namespace MERO::Tool {
namespace {

struct Action {
    const char* verb;
    const char* help;
    bool (*run)(const Texts& options, const Texts& units, Texts& failed, const SystemctlObserver& observer);
    Wanted wanted;     ///< the state that the units should have afterwards
    bool takesNoBlock; ///< reload never waits
    bool takesJobMode;
    bool starts; ///< starts units, which reasons may hold
};

constexpr Action kActions[] = {
    {"start", "Start units", MEROSystemdStartObserved, Wanted::Running, true, true, true},
    {"stop", "Stop units", MEROSystemdStopObserved, Wanted::Stopped, true, false, false},
    {"restart", "Stop and start units; start those that do not run", MEROSystemdRestartObserved, Wanted::Running, true,
     false, true},
    {"try-restart", "Restart the units that run", MEROSystemdTryRestartObserved, Wanted::NotFailed, true, false, true},
    {"reload", "Have units read their configuration; never waits", MEROSystemdReloadObserved, Wanted::Running, false,
     false, false},
    {"reload-or-restart", "Reload units, or restart those that cannot reload", MEROSystemdReloadOrRestartObserved,
     Wanted::Running, true, false, true},
};

struct ActionArguments {
    Texts units;
    bool noBlock = false;
    bool irreversibly = false;
    bool verify = false;
    bool dryRun = false;
    bool json = false;
};

using Results = std::vector<UnitResult>;

/// The reasons that keep the action from a unit. try-restart leaves a stopped unit alone, held or not.
std::vector<Cause> HoldsFrom(const Action& action, const std::string& unit, const std::string& ownName)
{
    const bool startsNothing = action.wanted == Wanted::NotFailed;
    std::vector<Cause> holds = HoldsOf(ownName);
    if (!holds.empty() && startsNothing && MEROSystemdActiveStatusGet(unit) != MERO_SYSTEMD_ACTIVE_STATUS_ACTIVE) {
        holds.clear();
    }
    return holds;
}

/// Removes the held units from `units` and returns their results.
Results TakeHeld(const Action& action, Texts& units)
{
    Texts held;
    if (!action.starts || !Systemd::ListServicesWithReason(held) || held.empty()) {
        return {};
    }
    std::map<std::string, Systemd::ShownUnit> shown;
    if (IsDialectCurrent()) {
        (void)MEROSystemdShowProperties(units, {"Id"}, shown);
    }
    Results results;
    Texts others;
    for (const std::string& unit : units) {
        const std::vector<Cause> holds = HoldsFrom(action, unit, OwnName(unit, shown[unit].properties["Id"]));
        if (holds.empty()) {
            others.push_back(unit);
        } else {
            results.push_back(
                {.unit = unit, .code = kNotActive, .fault = "nothing was done: it is held", .causes = holds});
        }
    }
    units = others;
    return results;
}

Results RunOn(const Texts& units, const Action& action, const ActionArguments& arguments)
{
    Texts options;
    if (arguments.irreversibly) {
        options.emplace_back("--job-mode=replace-irreversibly");
    }
    if (arguments.noBlock) {
        options.emplace_back("--no-block");
    }
    const std::string verb = action.verb;
    const Results results = RunUnitAction(
        {.verb = verb,
         .units = units,
         .run = [&](const Texts& some, Texts& failed,
                    const SystemctlObserver& observer) { return action.run(options, some, failed, observer); },
         .diagnoses = action.wanted != Wanted::Stopped});
    return arguments.verify && AreDone(results) ? Verify(units, verb, action.wanted) : results;
}

int Run(const Action& action, const ActionArguments& arguments)
{
    if (arguments.verify && arguments.noBlock) {
        throw UsageError("--verify excludes --no-block"); // Excludes() would add a line to the help
    }
    Texts units = LoadedUnits(action.verb, arguments.units);
    if (arguments.dryRun) {
        return PrintForeseen(ForeseeStop(units), arguments.json);
    }
    Results results = TakeHeld(action, units);
    if (!units.empty()) {
        const Results others = RunOn(units, action, arguments);
        results.insert(results.end(), others.begin(), others.end());
    }
    return PrintResults(results, arguments.json);
}

} // namespace

void AddActionCommands(const Command& program)
{
    for (const Action& action : kActions) {
        const auto arguments = std::make_shared<ActionArguments>();
        const Command command = program.AddCommand(action.verb, action.help);
        AddUnitsOrPatterns(command, arguments->units);
        command.AddFlag("--verify", arguments->verify, "Check after one second that the units are running");
        if (action.takesNoBlock) {
            command.AddFlag("--no-block", arguments->noBlock, "Queue the jobs and do not wait for them");
        }
        if (action.takesJobMode) {
            command.AddFlag("--irreversibly", arguments->irreversibly, "Queue jobs that later jobs cannot cancel");
        }
        if (action.wanted == Wanted::Stopped) {
            AddDryRun(command, arguments->dryRun);
        }
        command.AddFlag("--json", arguments->json, "Print the result of each unit as a JSON array");
        command.OnCall([&action, arguments] { return Run(action, *arguments); });
    }
}

} // namespace MERO::Tool
