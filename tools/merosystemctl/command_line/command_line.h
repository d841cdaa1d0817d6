#pragma once

#include "command_line/command.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace MERO::Tool {

enum class Extent;

/// A word that a command line can go on with.
struct Word {
    std::string text;
    std::string description;
};

/// What a command line can go on with.
struct Expected {
    std::vector<Word> commands;
    std::vector<Word> options; ///< with their dashes
    std::string argument;      ///< the name of the operand, or of the option whose value is wanted
    std::string command;       ///< that all this is for, such as "reason release"
    Texts operands;            ///< of it, that are there
};

/// Commands that the help lists below one title. Those that no section has are hidden: they are for other programs.
struct Section {
    std::string title;
    Texts commands;
};

/// The program's command line: its commands, and the reading of what was typed.
class CommandLine {
public:
    struct Description {
        std::string program;
        std::string help;
        std::string version;
        std::string note;             ///< below the help
        std::function<void()> before; ///< runs before each command, but for those that are hidden
        std::vector<Section> sections;
        std::map<std::string, Texts> limited;          ///< options of the program, and the commands that take them
        Texts elsewhere;                               ///< commands that systemctl has, and this program does not
        std::string whenNothing;                       ///< the command that runs when there is none
        std::map<std::string, std::string> shorthands; ///< options that mean a command when they stand in its place
        std::function<void(CommandLine&)> addCommands;
    };

    explicit CommandLine(Description description);
    ~CommandLine();

    /// The program as a command, which the others are added to.
    Command Program();

    /// Does what the words ask for; they are without the program's name. Says on standard error what is wrong with
    /// them. The exit code.
    int Run(Texts words);

    Expected ExpectedBehind(const Texts& words) const;

private:
    void Build(Extent extent, const std::string& name = "");
    void BuildFor(const Texts& words);

    std::unique_ptr<CLI::App> app_;
    std::unique_ptr<Calls> calls_;
    Description description_;
};

} // namespace MERO::Tool
