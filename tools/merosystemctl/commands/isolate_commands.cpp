#include "commands/commands.h"
#include "commands/usage_tail.h"
#include "diagnosis/report.h"
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

int RunIn(const std::string& target, const Texts& command)
{
    if (command.empty()) {
        PrintError("run-in takes a command behind --");
        return kUsage;
    }
    if (!IsRunnable(command)) {
        return kUsage;
    }
    return RunWithin({
        .action = [&](auto callback) { return _MEROSystemdIsolateTargetAction(target, std::move(callback)); },
        .run = [&] { return RunCommand(command); },
        .report = [] { return true; },
        .name = command.front(),
        .before = "isolating to " + target,
        .after = "isolating back to default.target",
    });
}

} // namespace

void AddIsolateCommands(CLI::App& program, const Texts& behindDashes, int& exitCode)
{
    struct Arguments {
        std::string target;
        bool noBlock = false;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();

    CLI::App* isolate = program.add_subcommand("isolate", "Switch the machine to a target");
    isolate->add_option("TARGET", arguments->target, "A target that allows it")->required();
    isolate->add_flag("--no-block", arguments->noBlock, "Do not wait for the target, only for the stops");
    isolate->callback([arguments, &exitCode] { exitCode = Isolate(arguments->target, arguments->noBlock); });

    CLI::App* state = program.add_subcommand("isolate-state", "Tell whether an isolation is going on");
    state->add_flag("--json", arguments->json, "As a JSON object");
    state->callback([arguments, &exitCode] { exitCode = PrintState(arguments->json); });

    CLI::App* runIn = program.add_subcommand("run-in", "Run a command in a target, and return to the default");
    runIn->add_option("TARGET", arguments->target, "A target that allows to be isolated")->required();
    SetUsageTail(*runIn, "-- COMMAND...");
    runIn->callback([arguments, &behindDashes, &exitCode] { exitCode = RunIn(arguments->target, behindDashes); });
}

} // namespace MERO::Tool
