#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "diagnosis/report.h"
#include "output/output.h"
#include "running/unit_action.h"
#include "running/unit_patterns.h"

#include <merosystemd/systemd.hpp>

#include <memory>

namespace MERO::Tool {
namespace {

const std::string kRuntime = "--runtime";
const std::string kOffline = "--root=/.";

using OptionsForm = bool(const Texts& options, const Texts& units, Texts& failed, const SystemctlObserver& observer);

/// With options, disables and then enables: the library's reenable takes none.
bool Reenable(const Texts& options, const Texts& units, Texts& failed, const SystemctlObserver& observer)
{
    return options.empty() ? MEROSystemdReenableObserved(units, failed, observer)
                           : MEROSystemdDisableObserved(options, units, failed, observer) &&
                                 MEROSystemdEnableObserved(options, units, failed, observer);
}

struct EnablementChange {
    const char* verb;
    const char* help;
    OptionsForm* run;
    const char* now; ///< the command that --now runs too; nullptr: no such option
    OptionsForm* runNow;
};

constexpr EnablementChange kEnablementChanges[] = {
    {"enable", "Have units start at boot", MEROSystemdEnableObserved, "start", MEROSystemdStartObserved},
    {"disable", "Keep units from starting at boot", MEROSystemdDisableObserved, "stop", MEROSystemdStopObserved},
    {"reenable", "Disable units and enable them again", Reenable, nullptr, nullptr},
    {"mask", "Keep units from being started at all", MEROSystemdMaskObserved, "stop", MEROSystemdStopObserved},
    {"unmask", "Undo mask", MEROSystemdUnmaskObserved, nullptr, nullptr},
};

struct EnablementArguments {
    Texts units;
    bool runtime = false;
    bool offline = false;
    bool now = false;
    bool json = false;
};

std::vector<UnitResult> RunForm(const std::string& verb, const Texts& units, OptionsForm* form, const Texts& options)
{
    const bool isOffline = !options.empty() && options.front() == kOffline;
    return RunUnitAction(
        {.verb = verb,
         .units = units,
         .run = [&](const Texts& some, Texts& failed,
                    const SystemctlObserver& observer) { return form(options, some, failed, observer); },
         .diagnoses = verb == "start",
         .needsManager = !isOffline});
}

int Run(const EnablementChange& change, const EnablementArguments& arguments)
{
    Texts options;
    if (arguments.offline) {
        options.push_back(kOffline);
    }
    if (arguments.runtime) {
        options.push_back(kRuntime);
    }
    const Texts units = UnitFiles(change.verb, arguments.units, arguments.offline ? Texts{kOffline} : Texts());
    std::vector<UnitResult> results = RunForm(change.verb, units, change.run, options);
    if (arguments.now && AreDone(results)) {
        results = RunForm(change.now, units, change.runNow, {});
    }
    return PrintResults(results, arguments.json);
}

} // namespace

void AddEnablementCommands(const Command& program)
{
    for (const EnablementChange& change : kEnablementChanges) {
        const auto arguments = std::make_shared<EnablementArguments>();
        const Command command = program.AddCommand(change.verb, change.help);
        AddUnitsOrPatterns(command, arguments->units);
        command.AddFlag("--runtime", arguments->runtime, "Until the next boot only");
        const Argument offline =
            command.AddFlag("--offline", arguments->offline, "Change the files, without the manager");
        if (change.now != nullptr) {
            command.AddFlag("--now", arguments->now, std::string("And ") + change.now + " the units").Excludes(offline);
        }
        command.AddFlag("--json", arguments->json, "Print the result of each unit as a JSON array");
        command.OnCall([&change, arguments] { return Run(change, *arguments); });
    }
}

} // namespace MERO::Tool
