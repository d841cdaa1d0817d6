#include "diagnosis/unit_properties.h"

#include <merosystemd/systemd.hpp>

#include <sstream>

namespace MERO::Tool {

const std::string& UnitProperties::operator[](const std::string& name) const
{
    static const std::string kNothing;
    const auto found = values_.find(name);
    return found != values_.end() ? found->second : kNothing;
}

Texts UnitProperties::List(const std::string& name) const
{
    Texts texts;
    std::istringstream words((*this)[name]);
    for (std::string word; words >> word;) {
        texts.push_back(word);
    }
    return texts;
}

std::vector<UnitProperties> AskProperties(const Texts& units, const char* names)
{
    std::vector<UnitProperties> all(1);
    const auto read = [&](int exitCode, const Texts& lines) {
        for (std::string line : lines) {
            line.erase(line.find_last_not_of('\n') + 1);
            const std::size_t equals = line.find('=');
            if (line.empty()) { // between two units
                all.emplace_back();
            } else if (equals != line.npos) {
                all.back().Add(line.substr(0, equals), line.substr(equals + 1));
            }
        }
        return exitCode == 0 && all.size() == units.size();
    };
    try {
        const bool asked = MEROSystemdSystemctl("show", {std::string("--property=") + names}, units, read);
        return asked ? all : std::vector<UnitProperties>();
    } catch (const std::exception&) {
        return {}; // systemctl cannot be run
    }
}

} // namespace MERO::Tool
