#include "commands/commands.h"
#include "output/output.h"

#include <merosystemd/systemd.hpp>

#include <memory>

namespace MERO::Tool {
namespace {

struct Action {
    const char* verb;
    const char* help;
    bool (*run)(const Texts& options, const Texts& units, Texts& failed);
};

constexpr Action kStart{"start", "Start units", MEROSystemdStartWithOptions};

constexpr Action kOtherActions[] = {
    {"stop", "Stop units", MEROSystemdStopWithOptions},
    {"restart", "Stop and start units; start those that do not run", MEROSystemdRestartWithOptions},
    {"try-restart", "Restart the units that run", MEROSystemdTryRestartWithOptions},
    {"reload", "Have units read their configuration; never waits", MEROSystemdReloadWithOptions},
    {"reload-or-restart", "Reload units, or restart those that cannot reload", MEROSystemdReloadOrRestartWithOptions},
};

struct Arguments {
    Texts units;
    bool noBlock = false;
    bool irreversibly = false;
};

CLI::App* AddAction(CLI::App& program, const Action& action, const std::shared_ptr<Arguments>& arguments, int& exitCode)
{
    CLI::App* command = program.add_subcommand(action.verb, action.help);
    command->add_option("UNIT", arguments->units, "Units; a name without a type means a service")->required();
    command->add_flag("--no-block", arguments->noBlock, "Queue the jobs and do not wait for them");
    command->callback([&action, arguments, &exitCode] {
        Texts options;
        if (arguments->irreversibly) {
            options.emplace_back("--job-mode=replace-irreversibly");
        }
        if (arguments->noBlock) {
            options.emplace_back("--no-block");
        }
        Texts failed;
        const bool done = action.run(options, arguments->units, failed);
        exitCode = ReportUnits(done, action.verb, failed);
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
