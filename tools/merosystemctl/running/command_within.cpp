#include "running/command_within.h"

#include "running/run_command.h"
#include "running/stop_progress.h"

#include <atomic>

namespace MERO::Tool {

int RunWithin(const CommandWithin& command)
{
    const SignalsToCommand signals;
    std::atomic<bool> isRunning = false;
    bool wasReached = false;
    int code = kDone;
    const WatchedWork work = WithStopProgress(isRunning, [&] {
        return command.action([&] {
            wasReached = true;
            isRunning = true;
            code = command.run();
            isRunning = false;
            return code == kDone;
        });
    });
    const bool isAsBefore = command.report();
    if (!wasReached) {
        return ReportFailure(command.before);
    }
    if (code != kDone) {
        PrintError(command.name + ": exit code " + std::to_string(code));
        return code;
    }
    return work.done && isAsBefore ? kDone : ReportFailure(command.after);
}

} // namespace MERO::Tool
