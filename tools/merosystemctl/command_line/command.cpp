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
CLI::Option* AddOperandTo(CLI::App& app, const std::string& name, Value& value, const std::string& help)
{
    return app.add_option(name, value, help)->type_name("");
}

template <typename Value>
Argument AddOptionTo(CLI::App& app, const std::string& name, const std::string& meaning, Value& value,
                     const std::string& help)
{
    return Argument(app.add_option(name, value, help)->type_name(meaning));
}

} // namespace

const Argument& Argument::MustPass(Check check) const
{
    option_->check(CLI::Validator([check](std::string& value) { return check(value); }, ""));
    return *this;
}

const Argument& Argument::TakeAs(std::string (*form)(std::string value)) const
{
    option_->transform(form);
    return *this;
}

const Argument& Argument::MustLie(long long least, long long most) const
{
    option_->check(CLI::Range(least, most).description(""));
    return *this;
}

const Argument& Argument::Needs(const Argument& other) const
{
    option_->needs(other.option_);
    return *this;
}

const Argument& Argument::Excludes(const Argument& other) const
{
    option_->excludes(other.option_);
    return *this;
}

Command Command::AddCommand(const std::string& name, const std::string& help) const
{
    return {app_->add_subcommand(name, help)->group("Commands")->fallthrough(), calls_}; // to the program's options
}

Command Command::AddGroup(const std::string& name, const std::string& help) const
{
    CLI::App* group = app_->add_subcommand(name, help)->group("Commands")->fallthrough();
    group->require_subcommand(1);
    return {group, calls_};
}

Argument Command::AddOperand(const std::string& name, std::string& value, const std::string& help) const
{
    return Argument(AddOperandTo(*app_, name, value, help)->required());
}

Argument Command::AddOperand(const std::string& name, Texts& values, const std::string& help) const
{
    return Argument(AddOperandTo(*app_, name, values, help)->required());
}

Argument Command::AddOperand(const std::string& name, int& value, const std::string& help) const
{
    return Argument(AddOperandTo(*app_, name, value, help)->required());
}

Argument Command::AddOptionalOperand(const std::string& name, std::string& value, const std::string& help) const
{
    return Argument(AddOperandTo(*app_, name, value, help));
}

Argument Command::AddOptionalOperand(const std::string& name, Texts& values, const std::string& help) const
{
    return Argument(AddOperandTo(*app_, name, values, help));
}

Argument Command::AddFlag(const std::string& name, bool& value, const std::string& help) const
{
    return Argument(app_->add_flag(name, value, help));
}

Argument Command::AddOption(const std::string& name, const std::string& meaning, std::string& value,
                            const std::string& help) const
{
    return AddOptionTo(*app_, name, meaning, value, help);
}

Argument Command::AddOption(const std::string& name, const std::string& meaning, double& value,
                            const std::string& help) const
{
    return AddOptionTo(*app_, name, meaning, value, help);
}

Argument Command::AddOption(const std::string& name, const std::string& meaning, unsigned& value,
                            const std::string& help) const
{
    return AddOptionTo(*app_, name, meaning, value, help);
}

const Command& Command::TakeBehindDashes(Texts& words, const std::string& usage) const
{
    const auto formatter = std::dynamic_pointer_cast<CLI::Formatter>(app_->get_formatter());
    app_->formatter(std::make_shared<TailedFormatter>(*formatter, usage));
    calls_->behindDashes[app_] = &words;
    return *this;
}

const Command& Command::SetNote(const std::string& note) const
{
    app_->footer(note);
    return *this;
}

const Command& Command::Hide() const
{
    app_->group("");
    return *this;
}

void Command::OnCall(std::function<int()> run) const
{
    app_->callback([calls = calls_, run = std::move(run)] { calls->called = run; });
}

} // namespace MERO::Tool
