#include "unit/unit_properties.h"

#include "core/text.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <exception>

namespace MERO::Systemd {
namespace {

std::vector<UnitProperties> Parse(const Texts& lines, const Texts& properties)
{
    std::vector<UnitProperties> units(1);
    for (const std::string& line : lines) {
        const std::size_t equals = line.find('=');
        const std::string name = line.substr(0, equals);
        if (line == "\n") { // between two units
            units.emplace_back();
        } else if (equals != line.npos && std::find(properties.begin(), properties.end(), name) != properties.end()) {
            units.back()[name] = line.substr(equals + 1, line.find_last_not_of('\n') - equals);
        }
    }
    return units;
}

} // namespace

std::optional<std::vector<UnitProperties>> ShowUnits(const Texts& units, const Texts& properties)
{
    std::optional<std::vector<UnitProperties>> shown;
    try {
        (void)MEROSystemdSystemctl("show", {"--property=" + Join(properties, ",")}, units,
                                   [&](int exitCode, const Texts& lines) {
                                       if (exitCode == 0) {
                                           shown = Parse(lines, properties);
                                       }
                                       return true;
                                   });
    } catch (const std::exception&) {
        return std::nullopt; // logged where it was thrown
    }
    return shown;
}

} // namespace MERO::Systemd
