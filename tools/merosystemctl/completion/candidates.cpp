#include "completion/candidates.h"

#include "completion/names.h"

#include <algorithm>

namespace MERO::Tool {

std::vector<Word> Candidates(const CommandLine& commandLine, Texts words)
{
    std::string last;
    if (!words.empty()) {
        last = words.back();
        words.pop_back();
    }
    std::string before; // "--type=": only the value is completed
    if (const std::size_t equals = last.find('='); last.starts_with("--") && equals != last.npos) {
        before = last.substr(0, equals + 1);
        words.push_back(last.substr(0, equals));
        last.erase(0, equals + 1);
    } else if (last == "=") { // bash splits "--type=service" into three words
        last.clear();
    }
    const Expected expected = commandLine.ExpectedAfter(words);
    std::vector<Word> all;
    if (last.starts_with("-") && !expected.options.empty()) {
        all = expected.options;
    } else if (!expected.commands.empty()) {
        all = expected.commands;
    } else {
        all = NamesFor(expected);
    }
    std::erase_if(all, [&](const Word& word) {
        const Texts& given = expected.operands;
        return !word.text.starts_with(last) || std::find(given.begin(), given.end(), word.text) != given.end();
    });
    std::sort(all.begin(), all.end(), [](const Word& one, const Word& other) { return one.text < other.text; });
    const auto isSame = [](const Word& one, const Word& other) { return one.text == other.text; };
    all.erase(std::unique(all.begin(), all.end(), isSame), all.end());
    for (Word& word : all) {
        word.text.insert(0, before);
    }
    return all;
}

} // namespace MERO::Tool
