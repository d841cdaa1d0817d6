#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "diagnosis/dialect.h"
#include "diagnosis/holds.h"
#include "diagnosis/report.h"
#include "diagnosis/verification.h"
#include "output/output.h"
#include "running/watched_work.h"

#include <merosystemd/systemd.hpp>

#include <iostream>
#include <memory>

namespace MERO::Tool {
namespace {

struct Action {
    const char* verb;
    const char* help;
    bool (*run)(const Texts& options, const Texts& units, Texts& failed);
    Wanted wanted;     ///< of the units, behind it
    bool takesNoBlock; ///< reload never waits
    bool takesJobMode;
    bool starts; ///< units, which reasons may hold
};

constexpr Action kActions[] = {
    {"start", "Start units", MEROSystemdStartWithOptions, Wanted::Running, true, true, true},
    {"stop", "Stop units", MEROSystemdStopWithOptions, Wanted::Stopped, true, false, false},
    {"restart", "Stop and start units; start those that do not run", MEROSystemdRestartWithOptions, Wanted::Running,
     true, false, true},
    {"try-restart", "Restart the units that run", MEROSystemdTryRestartWithOptions, Wanted::NotFailed, true, false,
     true},
    {"reload", "Have units read their configuration; never waits", MEROSystemdReloadWithOptions, Wanted::Running, false,
     false, false},
    {"reload-or-restart", "Reload units, or restart those that cannot reload", MEROSystemdReloadOrRestartWithOptions,
     Wanted::Running, true, false, true},
};

struct ActionArguments {
    Texts units;
    bool noBlock = false;
    bool irreversibly = false;
    bool verify = false;
};

/// Whether reasons keep the action from a unit; names them then. Nobody restarts with try-restart what does not run.
bool IsHeld(const Action& action, const std::string& unit, const std::string& ownName)
{
    const std::vector<Cause> holds = HoldsOf(ownName);
    if (holds.empty() ||
        (action.wanted == Wanted::NotFailed && MEROSystemdActiveStatusGet(unit) != MERO_SYSTEMD_ACTIVE_STATUS_ACTIVE)) {
        return false;
    }
    for (const Cause& hold : holds) {
        PrintError(unit + ": " + hold.kind + " " + hold.text);
        std::cerr << "  -> " << hold.remedy << '\n';
    }
    return true;
}

Texts WithoutHeld(const Action& action, const Texts& units)
{
    Texts held;
    if (!Systemd::ListServicesWithReason(held) || held.empty()) {
        return units;
    }
    const auto known = IsDialectOfToday() ? AskProperties(units, "Id") : std::vector<UnitProperties>();
    Texts others;
    for (std::size_t i = 0; i < units.size(); ++i) {
        if (!IsHeld(action, units[i], known.empty() ? units[i] : OwnName(units[i], known[i]))) {
            others.push_back(units[i]);
        }
    }
    return others;
}

int RunOn(const Texts& units, const Action& action, const ActionArguments& arguments)
{
    Texts options;
    if (arguments.irreversibly) {
        options.emplace_back("--job-mode=replace-irreversibly");
    }
    if (arguments.noBlock) {
        options.emplace_back("--no-block");
    }
    const std::string verb = action.verb;
    Texts failed;
    const WatchedWork work =
        Watch(verb + " " + ToCell(units), [&](Progress&) { return action.run(options, units, failed); });
    if (!work.done) {
        const auto report = action.wanted == Wanted::Stopped ? ReportUnits : ReportStart;
        return report(false, verb, failed, work.error);
    }
    return arguments.verify ? Verify(units, verb, action.wanted) : kDone;
}

int Run(const Action& action, const ActionArguments& arguments)
{
    if (arguments.verify && arguments.noBlock) {
        throw UsageError("--verify excludes --no-block"); // the help shows no line for it
    }
    const Texts units = action.starts ? WithoutHeld(action, arguments.units) : arguments.units;
    const int code = units.empty() ? kDone : RunOn(units, action, arguments);
    return code == kDone && units.size() < arguments.units.size() ? kNotActive : code;
}

} // namespace

void AddActionCommands(const Command& program)
{
    for (const Action& action : kActions) {
        const auto arguments = std::make_shared<ActionArguments>();
        const Command command = program.AddCommand(action.verb, action.help);
        AddUnits(command, arguments->units);
        command.AddFlag("--verify", arguments->verify, "Look a second later how they are");
        if (action.takesNoBlock) {
            command.AddFlag("--no-block", arguments->noBlock, "Queue the jobs and do not wait for them");
        }
        if (action.takesJobMode) {
            command.AddFlag("--irreversibly", arguments->irreversibly, "With jobs that no later job can replace");
        }
        command.OnCall([&action, arguments] { return Run(action, *arguments); });
    }
}

} // namespace MERO::Tool
