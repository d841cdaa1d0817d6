#include "completion/candidates.h"

#include "completion/names.h"

#include <algorithm>

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

/// The name of the positional in place `index`; the last one may take all that follow.
std::string PositionalName(const CLI::App& command, std::size_t index)
{
    const auto all = command.get_options([](const CLI::Option* option) { return option->get_positional(); });
    if (all.empty() || (index >= all.size() && all.back()->get_items_expected_max() <= 1)) {
        return {};
    }
    return all[std::min(index, all.size() - 1)]->get_name(true);
}

Texts OptionNames(const CLI::App& command)
{
    Texts names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

Texts CommandNames(const CLI::App& command)
{
    Texts names;
    for (const CLI::App* sub : command.get_subcommands([](const CLI::App* sub) { return !sub->get_group().empty(); })) {
        names.push_back(sub->get_name());
    }
    return names;
}

} // namespace

Texts Candidates(const CLI::App& program, const Texts& words)
{
    if (words.empty()) {
        return CommandNames(program);
    }
    const CLI::App* command = &program;
    const CLI::Option* valueOf = nullptr;
    std::size_t positionals = 0;
    for (auto word = words.begin(); word + 1 != words.end(); ++word) {
        if (valueOf != nullptr) {
            valueOf = nullptr;
        } else if (word->starts_with("-")) {
            const CLI::Option* option = NamedOption(*command, *word);
            valueOf = TakesValue(option) ? option : nullptr;
        } else if (const CLI::App* sub = Subcommand(*command, *word)) {
            command = sub;
        } else {
            ++positionals;
        }
    }
    const std::string& last = words.back();
    Texts all;
    if (valueOf != nullptr) {
        all = NamesFor(valueOf->get_name());
    } else if (last.starts_with("-")) {
        all = OptionNames(*command);
    } else if (all = CommandNames(*command); all.empty()) {
        all = NamesFor(PositionalName(*command, positionals));
    } else if (positionals > 0) {
        all.clear(); // behind a command that there is not
    }
    std::erase_if(all, [&](const std::string& name) { return !name.starts_with(last); });
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

} // namespace MERO::Tool
