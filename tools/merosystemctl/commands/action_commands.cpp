#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "diagnosis/report.h"
#include "diagnosis/verification.h"
#include "output/output.h"
#include "running/watched_work.h"

#include <merosystemd/systemd.hpp>

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
};

constexpr Action kActions[] = {
    {"start", "Start units", MEROSystemdStartWithOptions, Wanted::Running, true, true},
    {"stop", "Stop units", MEROSystemdStopWithOptions, Wanted::Stopped, true, false},
    {"restart", "Stop and start units; start those that do not run", MEROSystemdRestartWithOptions, Wanted::Running,
     true, false},
    {"try-restart", "Restart the units that run", MEROSystemdTryRestartWithOptions, Wanted::NotFailed, true, false},
    {"reload", "Have units read their configuration; never waits", MEROSystemdReloadWithOptions, Wanted::Running, false,
     false},
    {"reload-or-restart", "Reload units, or restart those that cannot reload", MEROSystemdReloadOrRestartWithOptions,
     Wanted::Running, true, false},
};

struct ActionArguments {
    Texts units;
    bool noBlock = false;
    bool irreversibly = false;
    bool verify = false;
};

int Run(const Action& action, const ActionArguments& arguments)
{
    if (arguments.verify && arguments.noBlock) {
        throw UsageError("--verify excludes --no-block"); // the help shows no line for it
    }
    Texts options;
    if (arguments.irreversibly) {
        options.emplace_back("--job-mode=replace-irreversibly");
    }
    if (arguments.noBlock) {
        options.emplace_back("--no-block");
    }
    const std::string verb = action.verb;
    Texts failed;
    const WatchedWork work = Watch(verb + " " + ToCell(arguments.units),
                                   [&](Progress&) { return action.run(options, arguments.units, failed); });
    if (!work.done) {
        const auto report = action.wanted == Wanted::Stopped ? ReportUnits : ReportStart;
        return report(false, verb, failed, work.error);
    }
    return arguments.verify ? Verify(arguments.units, verb, action.wanted) : kDone;
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
