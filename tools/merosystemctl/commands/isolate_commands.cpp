#include "commands/commands.h"
#include "diagnosis/report.h"
#include "diagnosis/unit_properties.h"
#include "output/output.h"
#include "running/command_within.h"
#include "running/run_command.h"
#include "running/watched_work.h"

#include <merosystemd/systemd.hpp>

#include <iostream>
#include <memory>
#include <utility>

namespace MERO::Tool {
namespace {

int Isolate(const std::string& target, bool noBlock)
{
    const MERO::Systemd::IsolateOptions options{.noBlock = noBlock};
    MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT result = MERO_SYSTEMD_ISOLATE_WAIT_STOP_DONE;
    const std::string what = "isolating to " + target;
    const WatchedWork isolated =
        Watch(what, [&](Progress&) { return MEROSystemdIsolateTarget(target, options, &result); });
    if (!isolated.done) {
        return ReportFailure(what, isolated.error);
    }
    switch (result) {
    case MERO_SYSTEMD_ISOLATE_WAIT_STOP_PENDING:
        std::cout << "isolated to " << target << "; after five minutes still stopping: " << ToCell(isolated.stopping)
                  << '\n';
        return kTimedOut;
    case MERO_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED:
        std::cout << "isolated to " << target << "; systemd's jobs cannot be listed: units may still be stopping\n";
        return kFailed;
    default:
        std::cout << "isolated to " << target << "; what it stops has stopped\n";
        return kDone;
    }
}

int PrintState(bool json)
{
    MERO::Systemd::IsolateState state;
    if (!MEROSystemdIsolateStateGet(state)) {
        PrintError("an isolation was killed and has left its state behind, or its state cannot be read");
        return kFailed;
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

/// Whether systemd would isolate to the target; says so when it would not. The way back stops everything that was
/// started by hand: it must not begin for a name that is misspelt.
int CheckTarget(const std::string& target)
{
    const std::string unit = target.find('.') != target.npos ? target : target + ".target"; // as systemctl reads it
    const std::vector<UnitProperties> answer = AskProperties({unit}, "LoadState,AllowIsolate");
    if (answer.empty()) {
        return ReportFailure("asking for " + unit);
    }
    const std::string& load = answer.front()["LoadState"];
    if (!load.empty() && load != "loaded") {
        PrintError(unit + ": there is no such target");
        return kNoSuchUnit;
    }
    if (answer.front()["AllowIsolate"] == "no") {
        PrintError(unit + ": cannot be isolated to (AllowIsolate=no)");
        return kFailed;
    }
    return kDone;
}

int RunIn(const std::string& target, const Texts& command)
{
    if (command.empty()) {
        PrintError("run-in takes a command behind --");
        return kUsage;
    }
    if (!IsRunnable(command)) {
        return kUsage;
    }
    if (const int code = CheckTarget(target); code != kDone) {
        return code;
    }
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
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();

    const Command isolate = program.AddCommand("isolate", "Switch the machine to a target");
    isolate.AddOperand("TARGET", arguments->target, "A target that allows it");
    isolate.AddFlag("--no-block", arguments->noBlock, "Do not wait for the target, only for the stops");
    isolate.OnCall([arguments] { return Isolate(arguments->target, arguments->noBlock); });

    const Command state = program.AddCommand("isolate-state", "Tell whether an isolation is going on");
    state.AddFlag("--json", arguments->json, "As a JSON object");
    state.OnCall([arguments] { return PrintState(arguments->json); });

    const Command runIn = program.AddCommand("run-in", "Run a command in a target, and go back after it");
    runIn.AddOperand("TARGET", arguments->target, "A target that allows to be isolated");
    runIn.TakeBehindDashes(arguments->command, "-- COMMAND...");
    runIn.OnCall([arguments] { return RunIn(arguments->target, arguments->command); });
}

} // namespace MERO::Tool
