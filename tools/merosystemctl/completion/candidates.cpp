#include "completion/candidates.h"

#include "completion/names.h"

#include <algorithm>

namespace MERO::Tool {

Texts Candidates(const CommandLine& commandLine, const Texts& words)
{
    Texts before = words;
    std::string last;
    if (!before.empty()) {
        last = before.back();
        before.pop_back();
    }
    const Expected expected = commandLine.ExpectedBehind(before);
    Texts all;
    if (last.starts_with("-") && !expected.options.empty()) {
        all = expected.options;
    } else if (!expected.commands.empty()) {
        all = expected.commands;
    } else {
        all = NamesFor(expected.argument);
    }
    std::erase_if(all, [&](const std::string& name) { return !name.starts_with(last); });
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

} // namespace MERO::Tool
