#include "running/command_within.h"

#include "diagnosis/report.h"
#include "running/run_command.h"
#include "running/watched_work.h"

#include <optional>

namespace MERO::Tool {

int RunWithin(const CommandWithin& command)
{
    std::optional<SignalsToCommand> signals;
    bool wasReached = false;
    int code = kDone;
    const std::string first = command.planning.empty() ? command.before : command.planning;
    const WatchedWork work = Watch(first, [&](Progress& progress) {
        const auto begin = [&](const std::string& notice) {
            signals.emplace(notice);
            progress.Resume(command.before);
        };
        return command.action(begin, [&] {
            wasReached = true;
            progress.Pause();
            code = command.run();
            progress.Resume(command.after);
            return code == kDone;
        });
    });
    if (!signals) { // nothing was begun; an action that returns true all the same has printed why
        return work.done ? kFailed : ReportFailure(first, work.error);
    }
    const bool isAsBefore = command.report();
    if (!wasReached) {
        return ReportFailure(command.before, work.error);
    }
    if (SignalBeforeCommand() != 0) {
        PrintError("interrupted: " + command.name + " was not run");
        return code;
    }
    if (code != kDone) {
        PrintError(command.name + ": exit code " + std::to_string(code));
        return code;
    }
    return work.done && isAsBefore ? kDone : ReportFailure(command.after, work.error);
}

} // namespace MERO::Tool
