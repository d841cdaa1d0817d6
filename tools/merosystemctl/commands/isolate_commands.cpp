#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "diagnosis/isolation.h"
#include "diagnosis/report.h"
#include "output/command_error.h"
#include "output/output.h"
#include "running/command_within.h"
#include "running/dry_run.h"
#include "running/general_options.h"
#include "running/run_command.h"
#include "running/unit_queries.h"
#include "running/watched_work.h"

#include <merosystemd/systemd.hpp>

#include <iostream>
#include <memory>
#include <utility>

namespace MERO::Tool {
namespace {

/// The name that systemctl would use.
std::string TargetName(const std::string& target)
{
    return target.find('.') != target.npos ? target : target + ".target";
}

/// Whether systemd has no such target; if so, prints that. Ignores a query that fails.
bool IsNoTarget(const std::string& target)
{
    const std::string unit = TargetName(target);
    std::map<std::string, Systemd::ShownUnit> shown;
    (void)MEROSystemdShowProperties({unit}, {"LoadState"}, shown);
    const bool isMissing = IsMissing(shown[unit].properties["LoadState"]);
    if (isMissing) {
        PrintError(unit + ": there is no such target");
    }
    return isMissing;
}

int Isolate(const std::string& target, bool noBlock)
{
    const MERO::Systemd::IsolateOptions options{.noBlock = noBlock};
    MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT result = MERO_SYSTEMD_ISOLATE_WAIT_STOP_DONE;
    const std::string what = "isolating to " + target;
    SystemctlWords words;
    const WatchedWork isolated = Watch(
        what, [&](Progress&) { return MEROSystemdIsolateTargetObserved(target, options, &result, words.Listener()); });
    if (!isolated.done) {
        return words.WereHeard() && IsNoTarget(target) ? kNoSuchUnit : ReportFailure(what, isolated.error, words);
    }
    switch (result) {
    case MERO_SYSTEMD_ISOLATE_WAIT_STOP_PENDING:
        std::cout << "isolated to " << target << "; after five minutes still stopping: " << ToCell(isolated.stopping)
                  << '\n';
        return kTimedOut;
    case MERO_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED:
        std::cout << "isolated to " << target << "; units may still be stopping: the jobs cannot be listed\n";
        return kFailed;
    default:
        if (!General().quiet) {
            std::cout << "isolated to " << target << "; everything it stops has stopped\n";
        }
        return kDone;
    }
}

int ReportBadState()
{
    if (const auto cause = IsolationCause(CurrentIsolation())) {
        PrintError(cause->text);
        std::cerr << "  -> " << cause->remedy << '\n';
    }
    return kFailed;
}

int PrintState(bool json)
{
    MERO::Systemd::IsolateState state;
    if (!MEROSystemdIsolateStateGet(state)) {
        return ReportBadState();
    }
    if (json) {
        Json::Value object(Json::objectValue);
        object["isolating"] = state.isolating;
        object["target"] = state.target;
        PrintJson(object);
    } else {
        std::cout << (state.isolating ? "isolating to " + state.target : "no isolation is going on") << '\n';
    }
    return state.isolating ? kDone : kNotActive;
}

/// Throws if systemd would refuse to isolate to the target. Isolating back stops everything that was started by hand: a
/// misspelt name must not lead to that.
void CheckTarget(const std::string& target)
{
    const std::string unit = TargetName(target);
    auto shown = AskUnits({unit}, {"LoadState", "AllowIsolate"});
    auto& properties = shown[unit].properties;
    const std::string& load = properties["LoadState"];
    if (!load.empty() && load != "loaded") {
        throw CommandError(kNoSuchUnit, unit + ": there is no such target");
    }
    if (properties["AllowIsolate"] == "no") {
        throw CommandError(kFailed, unit + ": cannot be isolated to (AllowIsolate=no)");
    }
}

int RunIn(const std::string& target, const Texts& command)
{
    if (command.empty()) {
        throw UsageError("missing command: run-in TARGET -- COMMAND...");
    }
    if (!IsRunnable(command)) {
        return kUsage;
    }
    CheckTarget(target);
    return RunWithin({
        .action =
            [&](const CommandWithin::Begin& begin, auto callback) {
                begin("interrupted: isolating back to default.target");
                return _MEROSystemdIsolateTargetAction(target, std::move(callback));
            },
        .run = [&] { return RunCommand(command); },
        .report = [] { return true; },
        .name = command.front(),
        .before = "isolating to " + target,
        .after = "isolating back to default.target",
    });
}

} // namespace

void AddIsolateCommands(const Command& program)
{
    struct Arguments {
        std::string target;
        Texts command;
        bool noBlock = false;
        bool dryRun = false;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();

    const Command isolate = program.AddCommand("isolate", "Switch the machine to a target");
    TakeNames(isolate.AddOperand("TARGET", arguments->target, "A target with AllowIsolate=yes"));
    isolate.AddFlag("--no-block", arguments->noBlock, "Do not wait for the target, only for the stops");
    isolate.OnCall([arguments] {
        if (arguments->json && !arguments->dryRun) {
            throw UsageError("--json needs --dry-run");
        }
        return arguments->dryRun ? PrintForeseen(ForeseeIsolation(TargetName(arguments->target)), arguments->json)
                                 : Isolate(arguments->target, arguments->noBlock);
    });

    AddDryRun(isolate, arguments->dryRun);
    isolate.AddFlag("--json", arguments->json, "Print the dry run as a JSON object");
    const Command state = program.AddCommand("isolate-state", "Show whether an isolation is going on");
    state.AddFlag("--json", arguments->json, "As a JSON object");
    state.OnCall([arguments] { return PrintState(arguments->json); });

    const Command runIn = program.AddCommand("run-in", "Run a command in a target, then isolate back");
    TakeNames(runIn.AddOperand("TARGET", arguments->target, "A target with AllowIsolate=yes"));
    runIn.TakeAfterDashes(arguments->command, "-- COMMAND...");
    runIn.OnCall([arguments] { return RunIn(arguments->target, arguments->command); });
}

} // namespace MERO::Tool
