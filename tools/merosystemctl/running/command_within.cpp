#include "running/command_within.h"

#include "diagnosis/report.h"
#include "running/run_command.h"
#include "running/watched_work.h"

namespace MERO::Tool {

int RunWithin(const CommandWithin& command)
{
    const SignalsToCommand signals;
    bool wasReached = false;
    int code = kDone;
    const WatchedWork work = Watch(command.before, [&](Progress& progress) {
        return command.action([&] {
            wasReached = true;
            progress.Pause();
            code = command.run();
            progress.Resume(command.after);
            return code == kDone;
        });
    });
    const bool isAsBefore = command.report();
    if (!wasReached) {
        return ReportFailure(command.before, work.error);
    }
    if (code != kDone) {
        PrintError(command.name + ": exit code " + std::to_string(code));
        return code;
    }
    return work.done && isAsBefore ? kDone : ReportFailure(command.after, work.error);
}

} // namespace MERO::Tool
