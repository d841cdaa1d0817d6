#include "commands.h"
#include "output.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <memory>

namespace MERO::Tool {
namespace {

using Units = std::vector<std::string>;

struct Action {
    const char* verb;
    const char* help;
    bool (*run)(const Units& options, const Units& units, Units& failed);
};

constexpr Action kStart{"start", "Start units", MEROSystemdStartWithOptions};

constexpr Action kOtherActions[] = {
    {"stop", "Stop units", MEROSystemdStopWithOptions},
    {"restart", "Stop and start units; start those that do not run", MEROSystemdRestartWithOptions},
    {"try-restart", "Restart the units that run", MEROSystemdTryRestartWithOptions},
    {"reload", "Have units read their configuration; never waits", MEROSystemdReloadWithOptions},
    {"reload-or-restart", "Reload units, or restart those that cannot reload", MEROSystemdReloadOrRestartWithOptions},
};

int Run(const Action& action, const Units& options, const Units& units)
{
    Units failed;
    if (action.run(options, units, failed)) {
        return kDone;
    }
    std::sort(failed.begin(), failed.end());
    failed.erase(std::unique(failed.begin(), failed.end()), failed.end());
    for (const std::string& unit : failed) {
        PrintError(unit + ": " + action.verb + " failed");
    }
    if (failed.empty()) {
        PrintError(std::string(action.verb) + " failed, and systemctl named no unit");
    }
    PrintError("the reason is in the log: journalctl -t merosystemctl");
    return kFailed;
}

struct Arguments {
    Units units;
    bool noBlock = false;
    bool irreversibly = false;
};

CLI::App* AddAction(CLI::App& program, const Action& action, const std::shared_ptr<Arguments>& arguments, int& exitCode)
{
    CLI::App* command = program.add_subcommand(action.verb, action.help);
    command->add_option("UNIT", arguments->units, "Units; a name without a type means a service")->required();
    command->add_flag("--no-block", arguments->noBlock, "Queue the jobs and do not wait for them");
    command->callback([&action, arguments, &exitCode] {
        Units options;
        if (arguments->irreversibly) {
            options.emplace_back("--job-mode=replace-irreversibly");
        }
        if (arguments->noBlock) {
            options.emplace_back("--no-block");
        }
        exitCode = Run(action, options, arguments->units);
    });
    return command;
}

} // namespace

void AddActionCommands(CLI::App& program, int& exitCode)
{
    const auto arguments = std::make_shared<Arguments>();
    AddAction(program, kStart, arguments, exitCode)
        ->add_flag("--irreversibly", arguments->irreversibly, "With jobs that no later job can replace");
    for (const Action& action : kOtherActions) {
        AddAction(program, action, std::make_shared<Arguments>(), exitCode);
    }
}

} // namespace MERO::Tool
