#include "commands/commands.h"
#include "completion/candidates.h"

#include <iostream>
#include <memory>

namespace MERO::Tool {

void AddCompleteCommand(CommandLine& commandLine)
{
    const auto words = std::make_shared<Texts>();
    const Command command =
        commandLine.Program().AddCommand("complete", "Print what may stand at the end of a command line");
    command.Hide().TakeBehindDashes(*words, "-- [WORD...]"); // it is for the shells
    command.OnCall([&commandLine, words] {
        for (const std::string& candidate : Candidates(commandLine, *words)) {
            std::cout << candidate << '\n';
        }
        return kDone;
    });
}

} // namespace MERO::Tool
