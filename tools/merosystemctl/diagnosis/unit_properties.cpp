#include "diagnosis/unit_properties.h"

#include "diagnosis/unit_names.h"
#include "running/general_options.h"

#include <merosystemd/systemd.hpp>

#include <charconv>
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
    return SplitWords((*this)[name]);
}

std::optional<std::uint64_t> UnitProperties::Number(const std::string& name) const
{
    const std::string& text = (*this)[name];
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return isNumber && number != UINT64_MAX ? std::optional(number) : std::nullopt;
}

std::vector<UnitProperties> AskProperties(const Texts& units, const char* names)
{
    Texts properties;
    std::istringstream list(names);
    for (std::string name; std::getline(list, name, ',');) {
        properties.push_back(name);
    }
    std::map<std::string, Systemd::ShownUnit> shown;
    const auto ask = General().system ? MEROSystemdShowPropertiesSystem : MEROSystemdShowProperties;
    if (!ask(units, properties, shown)) {
        return {};
    }
    std::vector<UnitProperties> all;
    for (const std::string& unit : units) {
        const Systemd::ShownUnit& one = shown[unit];
        all.push_back(one.asked ? UnitProperties(one.properties) : UnitProperties());
    }
    return all;
}

} // namespace MERO::Tool
