#include "commands/commands.h"
#include "completion/candidates.h"

#include <iostream>
#include <memory>

namespace MERO::Tool {

void AddCompleteCommand(CommandLine& commandLine)
{
    struct Arguments {
        Texts words;
        bool descriptions = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command command =
        commandLine.Program().AddCommand("complete", "Print what the last word of a command line can be");
    command.TakeAfterDashes(arguments->words, "-- [WORD...]");
    command.AddFlag("--descriptions", arguments->descriptions, "Print a tab and a description after each");
    command.OnCall([&commandLine, arguments] {
        for (const Word& candidate : Candidates(commandLine, arguments->words)) {
            const bool isDescribed = arguments->descriptions && !candidate.description.empty();
            std::cout << candidate.text << (isDescribed ? "\t" + candidate.description : "") << '\n';
        }
        return kDone;
    });
}

} // namespace MERO::Tool
