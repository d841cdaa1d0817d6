#pragma once

#include "command_line/command.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace MERO::Tool {

enum class Extent;

/// A word that can come next on a command line.
struct Word {
    std::string text;
    std::string description;
};

/// The words that can come next on a command line.
struct Expected {
    std::vector<Word> commands;
    std::vector<Word> options; ///< with their dashes
    std::string argument;      ///< the operand that can come next, or the option whose value is missing
    std::string command;       ///< the command typed so far, such as "reason release"
    Texts operands;            ///< its operands typed so far
};

/// Commands that the help lists under one title. Commands in no section are hidden: they are for other programs.
struct Section {
    std::string title;
    Texts commands;
};

/// The program's command line: its commands, and the parser for what was typed.
class CommandLine {
public:
    struct Description {
        std::string program;
        std::string help;
        std::string version;
        std::string note;             ///< below the help
        std::function<void()> before; ///< runs before each command that is not hidden
        std::vector<Section> sections;
        std::map<std::string, Texts> limited;          ///< program options, and the commands that take them
        Texts elsewhere;                               ///< commands of systemctl that this program does not have
        std::string whenNothing;                       ///< the command that runs if none is given
        std::map<std::string, std::string> shorthands; ///< options that imply a command when given in its place
        std::function<void(CommandLine&)> addCommands;
    };

    explicit CommandLine(Description description);
    ~CommandLine();

    /// The program itself; the commands are added to it.
    Command Program();

    /// Runs the command line `words` (without the program's name) and returns the exit code. Prints usage errors on
    /// standard error.
    int Run(Texts words);

    Expected ExpectedAfter(const Texts& words) const;

private:
    void Build(Extent extent, const std::string& name = "");
    void BuildFor(const Texts& words);

    std::unique_ptr<CLI::App> app_;
    std::unique_ptr<Calls> calls_;
    Description description_;
};

} // namespace MERO::Tool
