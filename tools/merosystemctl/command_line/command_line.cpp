#include "command_line/command_line.h"

#include "command_line/calls.h"
#include "command_line/nearest.h"
#include "output/exit_code.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <utility>

namespace MERO::Tool {
namespace {

const CLI::App* Subcommand(const CLI::App& command, const std::string& name)
{
    const auto all = command.get_subcommands([&](const CLI::App* sub) { return sub->get_name() == name; });
    return all.empty() ? nullptr : all.front();
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

/// Moves the words after "--" to the command that takes them. For other commands "--" only ends the options.
void TakeAfterDashes(const CLI::App* command, const Calls& calls, Texts& words)
{
    const CLI::App* program = command;
    bool isValue = false; // of one of the program's options
    for (const std::string& word : words) {
        const CLI::App* sub = Subcommand(*command, word);
        if (!isValue && sub != nullptr) {
            command = sub;
        } else if (!isValue && !word.starts_with('-')) {
            break;
        }
        isValue = !isValue && TakesValue(NamedOption(*program, word));
    }
    const auto taker = calls.afterDashes.find(command);
    const auto dashes = std::find(words.begin(), words.end(), "--");
    if (taker != calls.afterDashes.end() && dashes != words.end()) {
        taker->second->assign(dashes + 1, words.end());
        words.erase(dashes, words.end());
    }
}

/// The name of operand number `index`; the last operand may take all that follow.
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

Texts TextsOf(const std::vector<Word>& words)
{
    Texts texts;
    std::transform(words.begin(), words.end(), std::back_inserter(texts), [](const Word& word) { return word.text; });
    return texts;
}

/// Adds the command that the words imply, if they name none.
Texts WithCommand(const CLI::App& program, Texts words, const CommandLine::Description& description)
{
    auto word = words.begin();
    while (word != words.end() && NamedOption(program, *word) != nullptr) {
        if (*word == "--help" || *word == "-h" || *word == "--version") {
            return words;
        }
        const bool hasValue = TakesValue(NamedOption(program, *word));
        word += hasValue && word + 1 != words.end() ? 2 : 1;
    }
    const auto shorthand = word == words.end() ? description.shorthands.end() : description.shorthands.find(*word);
    if (word == words.end()) {
        words.push_back(description.whenNothing);
    } else if (shorthand != description.shorthands.end()) {
        words.insert(word, shorthand->second);
    }
    return words;
}

/// The command that was called, as deep as its words are known; the program itself if the first one is unknown.
const CLI::App* Called(const CLI::App* program)
{
    while (!program->get_subcommands().empty()) {
        program = program->get_subcommands().front();
    }
    return program;
}

/// "volume list"; empty for the program itself.
std::string FullName(const CLI::App* command)
{
    if (command->get_parent() == nullptr) {
        return {};
    }
    const std::string before = FullName(command->get_parent());
    return before + (before.empty() ? "" : " ") + command->get_name();
}

std::string HelpHint(const CLI::App* command)
{
    const std::string name = FullName(command);
    return "Try 'merosystemctl " + name + (name.empty() ? "" : " ") + "--help'.";
}

std::string DidYouMean(const std::string& nearest)
{
    return nearest.empty() ? "" : "\nDid you mean " + nearest + "?";
}

/// The message for words that the parser could not place.
std::string UnknownFault(const CLI::App& program, const CLI::App& called, const Texts& words, const Texts& elsewhere)
{
    const auto option = std::find_if(words.begin(), words.end(),
                                     [](const std::string& word) { return word.size() > 1 && word.front() == '-'; });
    if (option != words.end()) {
        Texts known = TextsOf(OptionNames(called));
        if (std::find(known.begin(), known.end(), *option) != known.end()) {
            return *option + " goes after the command";
        }
        const Texts general = TextsOf(OptionNames(program));
        known.insert(known.end(), general.begin(), general.end());
        return "unknown option " + *option + DidYouMean(Nearest(*option, known));
    }
    const Texts commands = TextsOf(CommandNames(called));
    if (commands.empty()) {
        return std::string("unexpected argument") + (words.size() > 1 ? "s" : "") + ": " + ToCell(words);
    }
    const std::string name = FullName(&called) + (called.get_parent() == nullptr ? "" : " ") + words.front();
    const bool isElsewhere = called.get_parent() == nullptr &&
                             std::find(elsewhere.begin(), elsewhere.end(), words.front()) != elsewhere.end();
    return "there is no command " + name +
           (isElsewhere ? " here. Use 'systemctl " + ToCell(words) + "'."
                        : DidYouMean(Nearest(words.front(), commands)));
}

/// The message for a wrong command line: the mistake, and where to find help.
std::string UsageMessage(const CLI::App& program, const CLI::Error& error, const Texts& elsewhere)
{
    const CLI::App* called = Called(&program);
    const Texts unknown = program.remaining(true);
    std::string fault = error.what();
    if (!unknown.empty()) {
        fault = UnknownFault(program, *called, unknown, elsewhere);
    } else if (const Texts commands = TextsOf(CommandNames(*called)); !commands.empty()) {
        const bool isGroup = called != &program;
        fault = "missing command" + (isGroup ? ": " + ToCell(commands) : "");
    }
    return "merosystemctl: " + fault + "\n" + HelpHint(called) + "\n";
}

/// The title of the command's section; empty, which hides the command in the help, if it has none.
std::string TitleOf(const std::string& command, const std::vector<Section>& sections)
{
    for (const Section& section : sections) {
        if (std::find(section.commands.begin(), section.commands.end(), command) != section.commands.end()) {
            return section.title;
        }
    }
    return {};
}

/// Throws a UsageError if a command was given one of the program's options that it does not take.
void CheckLimits(const CLI::App& program, const std::map<std::string, Texts>& limited)
{
    const std::string called = FullName(Called(&program));
    for (const auto& [option, commands] : limited) {
        if (program.count(option) > 0 && std::find(commands.begin(), commands.end(), called) == commands.end()) {
            throw UsageError(option + " is not for " + called + "; it is for: " + ToCell(commands));
        }
    }
}

} // namespace

CommandLine::CommandLine(Description description) : description_(std::move(description)) {}

CommandLine::~CommandLine() = default;

Command CommandLine::Program()
{
    return {app_.get(), calls_.get()};
}

void CommandLine::Build(Extent extent, const std::string& name)
{
    app_ = std::make_unique<CLI::App>(description_.help, description_.program);
    calls_ = std::make_unique<Calls>(Calls{.extent = extent, .name = name, .afterDashes = {}, .called = {}});
    app_->set_version_flag("--version", description_.program + " " + description_.version,
                           "Print the version and exit");
    app_->set_help_flag("-h,--help", "Print this help and exit");
    app_->require_subcommand(1);
    app_->failure_message([this](const CLI::App* program, const CLI::Error& error) {
        return UsageMessage(*program, error, description_.elsewhere);
    });
    app_->get_formatter()->column_width(22);
    app_->get_formatter()->label("SUBCOMMAND", "COMMAND");
    app_->get_formatter()->label("REQUIRED", ""); // the usage line says so
    app_->get_formatter()->label("Positionals", "Arguments");
    description_.addCommands(*this);
    app_->footer(description_.note); // last: commands added after it would inherit it
    for (CLI::App* command : app_->get_subcommands({})) {
        command->group(TitleOf(command->get_name(), description_.sections));
    }
}

/// Builds only the command that the words call, if that is clear.
void CommandLine::BuildFor(const Texts& words)
{
    const auto isCommand = [](const std::string& word) { return !word.starts_with('-'); };
    const auto command = std::find_if(words.begin(), words.end(), isCommand);
    const bool isForProgram = std::any_of(words.begin(), command, [](const std::string& word) {
        return word == "-h" || word == "--help" || word == "--version";
    });
    const auto shorthand = words.empty() ? description_.shorthands.end() : description_.shorthands.find(words.front());
    const std::string name = shorthand != description_.shorthands.end() ? shorthand->second
                             : command != words.end()                   ? *command
                                                                        : description_.whenNothing;
    Build(isForProgram ? Extent::Names : Extent::One, name);
    if (app_->get_subcommands({}).empty()) { // an unknown command, or the value of an option
        Build(Extent::All);
    }
}

int CommandLine::Run(Texts words)
{
    BuildFor(words);
    words = WithCommand(*app_, words, description_);
    TakeAfterDashes(app_.get(), *calls_, words);
    std::reverse(words.begin(), words.end()); // the order that the parser takes
    try {
        app_->parse(words);
        CheckLimits(*app_, description_.limited);
        if (description_.before && !app_->get_subcommands().front()->get_group().empty()) {
            description_.before();
        }
        return calls_->called();
    } catch (const CLI::Success& wanted) { // --help and --version
        return app_->exit(wanted);
    } catch (const CLI::ParseError& error) {
        app_->exit(error);
    } catch (const UsageError& error) {
        PrintError(error.what());
        std::cerr << HelpHint(Called(app_.get())) << '\n';
    } catch (const CommandError& error) {
        PrintError(error.what());
        return error.code;
    }
    return kUsage;
}

Expected CommandLine::ExpectedAfter(const Texts& words) const
{
    CommandLine whole(description_);
    whole.Build(Extent::All);
    const CLI::App* const program = whole.app_.get();
    const CLI::App* command = program;
    const CLI::Option* valueOf = nullptr;
    Expected expected;
    for (const std::string& word : words) {
        if (valueOf != nullptr) {
            valueOf = word == "=" ? valueOf : nullptr; // bash splits "--type=service" into three words
        } else if (word.starts_with("-")) {
            const CLI::Option* own = NamedOption(*command, word);
            const CLI::Option* option = own != nullptr ? own : NamedOption(*program, word);
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
    if (expected.operands.empty()) { // otherwise an unknown command came before
        expected.commands = CommandNames(*command);
    }
    expected.options = OptionNames(*command);
    if (command != program) {
        const std::vector<Word> general = OptionNames(*program);
        expected.options.insert(expected.options.end(), general.begin(), general.end());
    }
    expected.argument = OperandName(*command, expected.operands.size());
    return expected;
}

} // namespace MERO::Tool
