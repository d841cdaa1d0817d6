#include "command_line/command_line.h"

#include "command_line/calls.h"
#include "output/exit_code.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace MERO::Tool {
namespace {

const CLI::App* Subcommand(const CLI::App& command, const std::string& name)
{
    const auto all = command.get_subcommands([&](const CLI::App* sub) { return sub->get_name() == name; });
    return all.empty() ? nullptr : all.front();
}

/// The words behind "--" of a command that takes them. For other commands "--" only ends the options.
void TakeBehindDashes(const CLI::App* command, const Calls& calls, Texts& words)
{
    for (const std::string& word : words) {
        const CLI::App* sub = Subcommand(*command, word);
        if (sub == nullptr) {
            break;
        }
        command = sub;
    }
    const auto taker = calls.behindDashes.find(command);
    const auto dashes = std::find(words.begin(), words.end(), "--");
    if (taker != calls.behindDashes.end() && dashes != words.end()) {
        taker->second->assign(dashes + 1, words.end());
        words.erase(dashes, words.end());
    }
}

std::string UsageMessage(const std::string& fault)
{
    return "merosystemctl: " + fault + "\nmerosystemctl: --help, also behind a command, tells what there is\n";
}

/// The parser takes an unknown command for a missing one.
std::string Fault(const CLI::App* program, const CLI::Error& error)
{
    const Texts unknown = program->remaining(true);
    const bool isCommandMissing = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr && !unknown.empty();
    return isCommandMissing ? "there is no command " + unknown.front() : error.what();
}

/// The option that a word such as "--type" or "-n" names.
const CLI::Option* NamedOption(const CLI::App& command, const std::string& word)
{
    const auto all = command.get_options([&](const CLI::Option* option) { return option->check_name(word); });
    return all.empty() ? nullptr : all.front();
}

bool TakesValue(const CLI::Option* option)
{
    return option != nullptr && option->get_items_expected_max() > 0;
}

/// The name of the operand in place `index`; the last one may take all that follow.
std::string OperandName(const CLI::App& command, std::size_t index)
{
    const auto all = command.get_options([](const CLI::Option* option) { return option->get_positional(); });
    if (all.empty() || (index >= all.size() && all.back()->get_items_expected_max() <= 1)) {
        return {};
    }
    return all[std::min(index, all.size() - 1)]->get_name(true);
}

std::vector<Word> OptionNames(const CLI::App& command)
{
    std::vector<Word> names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back({"--" + name, option->get_description()});
        }
    }
    return names;
}

std::vector<Word> CommandNames(const CLI::App& command)
{
    std::vector<Word> names;
    for (const CLI::App* sub : command.get_subcommands([](const CLI::App* sub) { return !sub->get_group().empty(); })) {
        names.push_back({sub->get_name(), sub->get_description()});
    }
    return names;
}

} // namespace

CommandLine::CommandLine(const Description& description)
    : app_(std::make_unique<CLI::App>(description.help, description.program)), calls_(std::make_unique<Calls>()),
      note_(description.note), before_(description.before)
{
    app_->set_version_flag("--version", description.program + " " + description.version);
    app_->set_help_flag("-h,--help", "Print this help and exit");
    app_->require_subcommand(1);
    app_->failure_message(
        [](const CLI::App* program, const CLI::Error& error) { return UsageMessage(Fault(program, error)); });
    app_->get_formatter()->column_width(28);
}

CommandLine::~CommandLine() = default;

Command CommandLine::Program()
{
    return {app_.get(), calls_.get()};
}

int CommandLine::Run(Texts words)
{
    app_->footer(note_); // as late as this: commands that are added inherit it
    TakeBehindDashes(app_.get(), *calls_, words);
    std::reverse(words.begin(), words.end()); // as the parser wants them
    try {
        app_->parse(words);
        if (before_ && !app_->get_subcommands().front()->get_group().empty()) {
            before_();
        }
        return calls_->called();
    } catch (const CLI::Success& wanted) { // --help and --version
        return app_->exit(wanted);
    } catch (const CLI::ParseError& error) {
        app_->exit(error);
    } catch (const UsageError& error) {
        std::cerr << UsageMessage(error.what());
    }
    return kUsage;
}

Expected CommandLine::ExpectedBehind(const Texts& words) const
{
    const CLI::App* command = app_.get();
    const CLI::Option* valueOf = nullptr;
    Expected expected;
    for (const std::string& word : words) {
        if (valueOf != nullptr) {
            valueOf = word == "=" ? valueOf : nullptr; // bash makes three words of "--type=service"
        } else if (word.starts_with("-")) {
            const CLI::Option* option = NamedOption(*command, word);
            valueOf = TakesValue(option) ? option : nullptr;
        } else if (const CLI::App* sub = Subcommand(*command, word)) {
            command = sub;
            expected.command += (expected.command.empty() ? "" : " ") + word;
        } else {
            expected.operands.push_back(word);
        }
    }
    if (valueOf != nullptr) {
        expected.argument = valueOf->get_name();
        return expected;
    }
    if (expected.operands.empty()) { // else behind a command that there is not
        expected.commands = CommandNames(*command);
    }
    expected.options = OptionNames(*command);
    expected.argument = OperandName(*command, expected.operands.size());
    return expected;
}

} // namespace MERO::Tool
