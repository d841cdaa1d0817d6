#include "commands/commands.h"
#include "completion/candidates.h"

#include <iostream>

namespace MERO::Tool {

void AddCompleteCommand(CLI::App& program, const Texts& behindDashes, int& exitCode)
{
    CLI::App* command = program.add_subcommand("complete", "Print what may stand at the end of a command line");
    command->group(""); // for the shells: the help leaves it out
    command->callback([&program, &behindDashes, &exitCode] {
        for (const std::string& candidate : Candidates(program, behindDashes)) {
            std::cout << candidate << '\n';
        }
        exitCode = kDone;
    });
}

} // namespace MERO::Tool
