#include "command_line/command.h"

#include "command_line/calls.h"

#include <CLI/CLI.hpp>

#include <utility>

namespace MERO::Tool {
namespace {

class TailedFormatter : public CLI::Formatter {
public:
    TailedFormatter(const CLI::Formatter& other, std::string tail) : CLI::Formatter(other), tail_(std::move(tail)) {}

    std::string make_usage(const CLI::App* app, std::string name) const override
    {
        std::string usage = CLI::Formatter::make_usage(app, std::move(name));
        return usage.insert(usage.find_last_not_of('\n') + 1, " " + tail_);
    }

private:
    std::string tail_;
};

template <typename Value>
Argument AddOptionTo(CLI::App* app, const std::string& name, const std::string& meaning, Value& value,
                     const std::string& help)
{
    return Argument(app != nullptr ? app->add_option(name, value, help)->type_name(meaning) : nullptr);
}

/// @return null if there is no command
template <typename Value>
CLI::Option* AddOperandTo(CLI::App* app, const std::string& name, Value& value, const std::string& help)
{
    const auto check = [](const std::string& word) { return word.empty() ? "must not be empty" : std::string(); };
    return app != nullptr ? app->add_option(name, value, help)->type_name("")->check(check, "") : nullptr;
}

template <typename Value>
Argument AddRequiredOperandTo(CLI::App* app, const std::string& name, Value& value, const std::string& help)
{
    CLI::Option* operand = AddOperandTo(app, name, value, help);
    return Argument(operand != nullptr ? operand->required() : nullptr);
}

} // namespace

const Argument& Argument::MustPass(Check check) const
{
    if (option_ != nullptr) {
        option_->check(CLI::Validator([check](std::string& value) { return check(value); }, ""));
    }
    return *this;
}

const Argument& Argument::TakeAs(std::string (*form)(std::string value)) const
{
    if (option_ != nullptr) {
        option_->transform(form);
    }
    return *this;
}

const Argument& Argument::MustLie(long long least, long long most) const
{
    if (option_ != nullptr) {
        option_->check(CLI::Range(least, most).description(""));
    }
    return *this;
}

const Argument& Argument::Needs(const Argument& other) const
{
    if (option_ != nullptr) {
        option_->needs(other.option_);
    }
    return *this;
}

const Argument& Argument::Excludes(const Argument& other) const
{
    if (option_ != nullptr) {
        option_->excludes(other.option_);
    }
    return *this;
}

CLI::App* Command::AddApp(const std::string& name, const std::string& help) const
{
    const bool isProgram = app_ != nullptr && app_->get_parent() == nullptr;
    if (app_ == nullptr || (isProgram && calls_->extent == Extent::One && name != calls_->name)) {
        return nullptr;
    }
    return app_->add_subcommand(name, help)->group("Commands")->fallthrough(); // to the program's options
}

Command Command::AddCommand(const std::string& name, const std::string& help) const
{
    CLI::App* command = AddApp(name, help);
    return {calls_->extent != Extent::Names ? command : nullptr, calls_};
}

Command Command::AddGroup(const std::string& name, const std::string& help) const
{
    const Command group = AddCommand(name, help);
    if (group.app_ != nullptr) {
        group.app_->require_subcommand(1);
    }
    return group;
}

Argument Command::AddOperand(const std::string& name, std::string& value, const std::string& help) const
{
    return AddRequiredOperandTo(app_, name, value, help);
}

Argument Command::AddOperand(const std::string& name, Texts& values, const std::string& help) const
{
    return AddRequiredOperandTo(app_, name, values, help);
}

Argument Command::AddOperand(const std::string& name, int& value, const std::string& help) const
{
    return AddRequiredOperandTo(app_, name, value, help);
}

Argument Command::AddOptionalOperand(const std::string& name, std::string& value, const std::string& help) const
{
    return Argument(AddOperandTo(app_, name, value, help));
}

Argument Command::AddOptionalOperand(const std::string& name, Texts& values, const std::string& help) const
{
    return Argument(AddOperandTo(app_, name, values, help));
}

Argument Command::AddFlag(const std::string& name, bool& value, const std::string& help) const
{
    return Argument(app_ != nullptr ? app_->add_flag(name, value, help) : nullptr);
}

Argument Command::AddOption(const std::string& name, const std::string& meaning, std::string& value,
                            const std::string& help) const
{
    return AddOptionTo(app_, name, meaning, value, help);
}

Argument Command::AddOption(const std::string& name, const std::string& meaning, double& value,
                            const std::string& help) const
{
    return AddOptionTo(app_, name, meaning, value, help);
}

Argument Command::AddOption(const std::string& name, const std::string& meaning, unsigned& value,
                            const std::string& help) const
{
    return AddOptionTo(app_, name, meaning, value, help);
}

const Command& Command::TakeAfterDashes(Texts& words, const std::string& usage) const
{
    if (app_ == nullptr) {
        return *this;
    }
    const auto formatter = std::dynamic_pointer_cast<CLI::Formatter>(app_->get_formatter());
    app_->formatter(std::make_shared<TailedFormatter>(*formatter, usage));
    calls_->afterDashes[app_] = &words;
    return *this;
}

const Command& Command::SetNote(const std::string& note) const
{
    if (app_ != nullptr) {
        app_->footer(note);
    }
    return *this;
}

void Command::OnCall(std::function<int()> run) const
{
    if (app_ != nullptr) {
        app_->callback([calls = calls_, run = std::move(run)] { calls->called = run; });
    }
}

} // namespace MERO::Tool
