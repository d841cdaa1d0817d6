#include "commands.h"
#include "output.h"
#include "progress_line.h"
#include "run_command.h"
#include "stop_watch.h"

#include <merosystemd/systemd.hpp>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <iostream>
#include <memory>

namespace MERO::Tool {
namespace {

constexpr auto kProgressInterval = std::chrono::seconds(1);

struct Watched {
    bool done;
    Texts stillStopping;
};

/// Runs `work` and shows meanwhile which units are stopping, unless `isQuiet`. Returns its result, and the units that
/// have not stopped yet.
Watched WithStopProgress(const std::function<bool()>& work, const std::atomic<bool>& isQuiet)
{
    StopWatch stops;
    ProgressLine line;
    std::future<bool> done = std::async(std::launch::async, work);
    while (done.wait_for(kProgressInterval) != std::future_status::ready) {
        stops.Update();
        if (isQuiet || stops.Units().empty()) {
            line.Clear();
        } else {
            line.Show(ToCell(stops.Units()), "stopping: " + stops.Details());
        }
    }
    return {done.get(), stops.Units()};
}

int Isolate(const std::string& target, bool noBlock)
{
    const MERO::Systemd::IsolateOptions options{.noBlock = noBlock};
    MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT result = MERO_SYSTEMD_ISOLATE_WAIT_STOP_DONE;
    const Watched isolated =
        WithStopProgress([&] { return MEROSystemdIsolateTarget(target, options, &result); }, false);
    if (!isolated.done) {
        return ReportFailure("isolating to " + target);
    }
    switch (result) {
    case MERO_SYSTEMD_ISOLATE_WAIT_STOP_PENDING:
        std::cout << "isolated to " << target << "; after five minutes still stopping: "
                  << ToCell(isolated.stillStopping) << '\n';
        return kTimedOut;
    case MERO_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED:
        std::cout << "isolated to " << target << "; systemd's jobs cannot be listed: units may still be stopping\n";
        return kCannotRun;
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
    if (!IsRunnable(command)) {
        return kUsage;
    }
    const SignalsToCommand signals;
    std::atomic<bool> isRunning = false;
    bool wasReached = false;
    int code = kDone;
    const Watched returned = WithStopProgress(
        [&] {
            return _MEROSystemdIsolateTargetAction(target, [&] {
                wasReached = true;
                isRunning = true;
                code = RunCommand(command);
                isRunning = false;
                return code == kDone;
            });
        },
        isRunning);
    if (!wasReached) {
        return ReportFailure("isolating to " + target);
    }
    if (code != kDone) {
        PrintError(command.front() + ": exit code " + std::to_string(code));
        return code;
    }
    return returned.done ? kDone : ReportFailure("isolating back to default.target");
}

} // namespace

void AddIsolateCommands(CLI::App& program, int& exitCode)
{
    struct Arguments {
        std::string target;
        Texts command;
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
    runIn->add_option("COMMAND", arguments->command, "The command behind --, with its arguments")->required();
    runIn->callback([arguments, &exitCode] { exitCode = RunIn(arguments->target, arguments->command); });
}

} // namespace MERO::Tool
