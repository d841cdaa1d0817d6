#include "diagnosis/unit_names.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace MERO::Tool {

bool HasUnitType(const std::string& name)
{
    return std::any_of(kUnitTypes.begin(), kUnitTypes.end(),
                       [&](const char* type) { return name.ends_with(std::string(".") + type); });
}

std::string WholeName(const std::string& unit)
{
    return HasUnitType(unit) ? unit : unit + ".service";
}

Texts SplitWords(const std::string& list)
{
    Texts words;
    std::istringstream rest(list);
    for (std::string word; rest >> std::quoted(word);) {
        words.push_back(word);
    }
    return words;
}

} // namespace MERO::Tool
