#pragma once

#include "output/command_error.h"
#include "output/output.h"

#include <functional>
#include <string>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace MERO::Tool {

struct Calls;

/// Returns what is wrong with a value; empty if nothing is.
using Check = std::string (*)(const std::string& value);

/// An option or an operand of a command.
class Argument {
public:
    explicit Argument(CLI::Option* option) : option_(option) {} ///< nullptr: its command is not needed

    const Argument& MustPass(Check check) const;
    /// `form` changes a value before it is checked.
    const Argument& TakeAs(std::string (*form)(std::string value)) const;
    const Argument& MustLie(long long least, long long most) const;
    const Argument& Needs(const Argument& other) const;
    const Argument& Excludes(const Argument& other) const;

private:
    CLI::Option* option_;
};

/// A command of the program, such as "start" or "volume plan": its arguments, and what it does. A copy means the same
/// command. The bound values change only when the command is called. For a command that this run does not need, nothing
/// is built: arguments can be added, and are dropped.
class Command {
public:
    Command(CLI::App* app, Calls* calls) : app_(app), calls_(calls) {}

    Command AddCommand(const std::string& name, const std::string& help) const;
    /// A command that only groups others: one of them must follow it.
    Command AddGroup(const std::string& name, const std::string& help) const;

    /// Operands come in the order in which they are added. A required list has at least one value.
    Argument AddOperand(const std::string& name, std::string& value, const std::string& help) const;
    Argument AddOperand(const std::string& name, Texts& values, const std::string& help) const;
    Argument AddOperand(const std::string& name, int& value, const std::string& help) const;
    Argument AddOptionalOperand(const std::string& name, std::string& value, const std::string& help) const;
    Argument AddOptionalOperand(const std::string& name, Texts& values, const std::string& help) const;

    /// Options are named "--name" or "-n,--name"; the help shows `meaning` for their value.
    Argument AddFlag(const std::string& name, bool& value, const std::string& help) const;
    Argument AddOption(const std::string& name, const std::string& meaning, std::string& value,
                       const std::string& help) const;
    Argument AddOption(const std::string& name, const std::string& meaning, double& value,
                       const std::string& help) const;
    Argument AddOption(const std::string& name, const std::string& meaning, unsigned& value,
                       const std::string& help) const;

    /// The words after "--", options among them, go to `words` and are no operands. `usage` describes them in the usage
    /// line.
    const Command& TakeAfterDashes(Texts& words, const std::string& usage) const;
    /// A text below the help.
    const Command& SetNote(const std::string& note) const;
    /// `run` does the command's work and returns the exit code.
    void OnCall(std::function<int()> run) const;

private:
    CLI::App* AddApp(const std::string& name, const std::string& help) const;

    CLI::App* app_; ///< nullptr: not needed
    Calls* calls_;
};

} // namespace MERO::Tool
