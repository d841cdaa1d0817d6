#include "commands/commands.h"
#include "diagnosis/report.h"
#include "output/output.h"
#include "running/watched_work.h"

#include <merosystemd/systemd.hpp>

#include <memory>

namespace MERO::Tool {
namespace {

void AddDefaultTarget(const Command& program)
{
    struct Arguments {
        std::string target;
        bool offline = false;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command command = program.AddCommand("default-target", "Print or set the target that the machine boots into");
    const Argument target = command.AddOptionalOperand("TARGET", arguments->target, "Set this target");
    command.AddFlag("--offline", arguments->offline, "Change the files, without the manager").Needs(target);
    command.AddFlag("--json", arguments->json, "As a JSON string").Excludes(target);
    command.OnCall([arguments]() -> int {
        if (!arguments->target.empty()) {
            SystemctlWords words;
            const bool done = arguments->offline
                                  ? MEROSystemdDefaultTargetSetInGenerator(arguments->target)
                                  : MEROSystemdDefaultTargetSetObserved(arguments->target, words.Listener());
            return done ? kDone : ReportFailure("setting the default target", MLIBCErrGet(), words);
        }
        std::string target;
        if (!MEROSystemdDefaultTargetGet(target)) {
            return ReportFailure("reading the default target");
        }
        PrintText(target, arguments->json);
        return kDone;
    });
}

} // namespace

void AddManagerCommands(const Command& program)
{
    AddDefaultTarget(program);

    const Command daemonReload = program.AddCommand("daemon-reload", "Have systemd read its unit files again");
    daemonReload.OnCall([] {
        SystemctlWords words;
        const WatchedWork work =
            Watch("daemon-reload", [&](Progress&) { return MEROSystemdDaemonReloadObserved(words.Listener()); });
        return work.done ? kDone : ReportFailure("daemon-reload", work.error, words);
    });
}

} // namespace MERO::Tool
