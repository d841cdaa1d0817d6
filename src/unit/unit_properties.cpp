#include "unit/unit_properties.h"

#include "core/text.h"

#include <merosystemd/systemd.hpp>

#include <exception>
#include <iomanip>
#include <sstream>
#include <utility>

namespace MERO::Systemd {
namespace {

ShowAnswer Parse(int exitCode, const Texts& lines, const Texts& properties)
{
    ShowAnswer answer{.exitCode = exitCode, .units = {}, .messages = {}};
    bool isBetween = true;
    for (const std::string& line : lines) {
        const std::size_t equals = line.find('=');
        const std::string name = line.substr(0, equals);
        if (line == "\n") {
            isBetween = true;
        } else if (equals == line.npos || !Contains(properties, name)) {
            answer.messages.push_back(line);
        } else {
            if (std::exchange(isBetween, false)) {
                answer.units.emplace_back();
            }
            const std::string value = line.substr(equals + 1, line.find_last_not_of('\n') - equals);
            const auto [known, isNew] = answer.units.back().try_emplace(name, value);
            if (!isNew && value.starts_with("{ ")) { // each of a service's commands has its own line
                known->second += "\n" + value;
            }
        }
    }
    return answer;
}

} // namespace

std::vector<std::string> ItemsOf(const std::string& value)
{
    Texts items;
    std::istringstream rest(value);
    rest.exceptions(std::ios::badbit); // std::bad_alloc, which the stream would swallow
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
            answer = Parse(exitCode, lines, properties);
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
