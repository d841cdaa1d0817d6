#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "diagnosis/report.h"
#include "output/output.h"
#include "running/watched_work.h"

#include <merosystemd/systemd.hpp>

#include <memory>

namespace MERO::Tool {
namespace {

const std::string kRuntime = "--runtime";
const std::string kOffline = "--root=/.";

/// Reenabling is disabling and enabling; the library's own does it without options.
bool Reenable(const Texts& options, const Texts& units, Texts& failed)
{
    return options.empty() ? MEROSystemdReenable(units, failed)
                           : MEROSystemdDisableWithOptionsInternal(options, units, failed) &&
                                 MEROSystemdEnableWithOptionsInternal(options, units, failed);
}

/// One unit of mask or unmask with options that its library function does not take.
bool RunOne(const std::string& verb, const Texts& options, const std::string& unit)
{
    try {
        return MEROSystemdSystemctl(verb, options, {unit}, [](int exitCode, const Texts& lines) {
            if (exitCode != 0) {
                PrintError(lines.empty() ? "systemctl said nothing"
                                         : lines.front().substr(0, lines.front().find('\n')));
            }
            return exitCode == 0;
        });
    } catch (const std::exception&) {
        return false; // systemctl cannot be run: the log says so
    }
}

bool RunEach(const std::string& verb, bool (*atRunTime)(const std::string&), const Texts& options, const Texts& units,
             Texts& failed)
{
    bool done = true;
    for (const std::string& unit : units) {
        if (!(options == Texts{kRuntime} ? atRunTime(unit) : RunOne(verb, options, unit))) {
            failed.push_back(unit);
            done = false;
        }
    }
    return done;
}

bool Mask(const Texts& options, const Texts& units, Texts& failed)
{
    return options.empty() ? MEROSystemdMask(units, failed)
                           : RunEach("mask", MEROSystemdMaskRunTime, options, units, failed);
}

bool Unmask(const Texts& options, const Texts& units, Texts& failed)
{
    return options.empty() ? MEROSystemdUnmask(units, failed)
                           : RunEach("unmask", MEROSystemdUnmaskRunTime, options, units, failed);
}

struct EnablementChange {
    const char* verb;
    const char* help;
    bool (*run)(const Texts& options, const Texts& units, Texts& failed);
};

constexpr EnablementChange kEnablementChanges[] = {
    {"enable", "Have units start at boot", MEROSystemdEnableWithOptionsInternal},
    {"disable", "Keep units from starting at boot", MEROSystemdDisableWithOptionsInternal},
    {"reenable", "Disable units, and enable them anew", Reenable},
    {"mask", "Keep units from being started at all", Mask},
    {"unmask", "Undo mask", Unmask},
};

struct EnablementArguments {
    Texts units;
    bool runtime = false;
    bool offline = false;
};

} // namespace

void AddEnablementCommands(const Command& program)
{
    for (const EnablementChange& change : kEnablementChanges) {
        const auto arguments = std::make_shared<EnablementArguments>();
        const Command command = program.AddCommand(change.verb, change.help);
        AddUnits(command, arguments->units);
        command.AddFlag("--runtime", arguments->runtime, "Until the next boot only");
        command.AddFlag("--offline", arguments->offline, "Change the files, without the manager");
        command.OnCall([&change, arguments] {
            Texts options;
            if (arguments->offline) {
                options.push_back(kOffline);
            }
            if (arguments->runtime) {
                options.push_back(kRuntime);
            }
            Texts failed;
            const std::string verb = change.verb;
            const WatchedWork work = Watch(verb + " " + ToCell(arguments->units),
                                           [&](Progress&) { return change.run(options, arguments->units, failed); });
            return ReportUnits(work.done, verb, failed, work.error);
        });
    }
}

} // namespace MERO::Tool
