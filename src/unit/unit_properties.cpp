#include "unit/unit_properties.h"

#include "core/text.h"

#include <merosystemd/systemd.hpp>

#include <exception>
#include <iomanip>
#include <sstream>

namespace MERO::Systemd {
namespace {

std::vector<UnitProperties> Parse(const Texts& lines, const Texts& properties)
{
    std::vector<UnitProperties> units;
    bool isBetween = true;
    for (const std::string& line : lines) {
        const std::size_t equals = line.find('=');
        const std::string name = line.substr(0, equals);
        if (line == "\n") {
            isBetween = true;
        } else if (equals != line.npos && Contains(properties, name)) {
            if (std::exchange(isBetween, false)) {
                units.emplace_back();
            }
            const std::string value = line.substr(equals + 1, line.find_last_not_of('\n') - equals);
            const auto [known, isNew] = units.back().try_emplace(name, value);
            if (!isNew && value.starts_with("{ ")) { // commands of a service have a line each
                known->second += "\n" + value;
            }
        }
    }
    return units;
}

} // namespace

std::vector<std::string> ItemsOf(const std::string& value)
{
    Texts items;
    std::istringstream rest(value);
    for (std::string item; rest >> std::quoted(item);) {
        items.push_back(item);
    }
    return items;
}

std::optional<ShowAnswer> RunShow(const SystemctlOpts& opts, const Texts& units, const Texts& properties)
{
    const Texts options{"--property=" + Join(properties, ",")};
    SystemctlOpts show = opts;
    show.cmdOpts = &options;
    std::optional<ShowAnswer> answer;
    try {
        (void)MEROSystemdSystemctlUltron("show", show, units, [&](int exitCode, const Texts& lines) {
            answer = {.exitCode = exitCode, .units = Parse(lines, properties), .lines = lines};
            return true;
        });
    } catch (const std::exception&) {
        return std::nullopt; // logged where it was thrown
    }
    return answer;
}

std::optional<std::vector<UnitProperties>> ShowUnits(const Texts& units, const Texts& properties)
{
    auto answer = RunShow({}, units, properties);
    return answer && answer->exitCode == 0 ? std::optional(std::move(answer->units)) : std::nullopt;
}

} // namespace MERO::Systemd
