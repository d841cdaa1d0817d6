#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "core/failed_units.h"

#include "core/log.h"
#include "core/names.h"

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

namespace MERO::Systemd {
namespace {

// systemctl's messages as regular expressions, unanchored; group 1 is the unit. They are matched by hand because an
// expression takes quadratic time on a line in which a message begins many times.

/// Failed to [^:]+ ([^: ]+)
std::optional<std::string_view> UnitOfFailure(std::string_view line)
{
    constexpr std::string_view kBeginning = "Failed to ";
    for (std::size_t at = 0; (at = line.find(kBeginning, at)) != line.npos; ++at) {
        const std::string_view rest = line.substr(at + kBeginning.size());
        const std::string_view message = rest.substr(0, rest.find(':'));
        const std::size_t last = message.find_last_not_of(' ');
        const std::size_t blank = last != message.npos ? message.rfind(' ', last) : message.npos;
        if (blank != message.npos && blank > 0) {
            return message.substr(blank + 1, last - blank);
        }
    }
    return std::nullopt;
}

/// <beginning>(.+)<ending>.
std::optional<std::string_view> UnitBetween(std::string_view line, std::string_view beginning, std::string_view ending)
{
    const std::size_t begin = line.find(beginning);
    if (begin == line.npos) {
        return std::nullopt;
    }
    line.remove_prefix(begin + beginning.size());
    const std::size_t end = line.substr(0, std::max<std::size_t>(line.size(), 1) - 1).rfind(ending);
    return end != line.npos && end > 0 ? std::optional(line.substr(0, end)) : std::nullopt;
}

/// Tries the messages in this order.
std::optional<std::string_view> FailedUnitOf(std::string_view line)
{
    line = line.substr(0, line.find('\0'));
    auto unit = UnitOfFailure(line);
    for (const auto& [beginning, ending] : {std::pair("Job for ", " failed"), std::pair("Job for ", " canceled"),
                                            std::pair("A dependency job for ", " failed")}) {
        unit = unit ? unit : UnitBetween(line, beginning, ending);
    }
    return unit;
}

} // namespace

void FailedUnitsGet(const std::vector<std::string>& units, const std::vector<std::string>& lines,
                    std::vector<std::string>& failed)
{
    std::map<std::string, std::string, std::less<>> callersNames;
    for (const std::string& unit : units) {
        callersNames[NormalizedUnitNameGet(unit)] = unit;
    }
    std::vector<std::string> found;
    for (const std::string& line : lines) {
        const auto unit = FailedUnitOf(line);
        if (!unit) {
            continue;
        }
        const auto entry = callersNames.find(*unit);
        if (entry == callersNames.end()) {
            MERO_LOG(LOG_ERR, "unexpected failed unit [%s].", std::string(*unit).c_str());
        } else {
            found.push_back(entry->second);
        }
    }
    FailedUnitsCopy(found, failed);
}

void FailedUnitsCopy(const std::vector<std::string>& from, std::vector<std::string>& to)
{
    const std::size_t count = from.size();
    for (std::size_t i = 0; i < count; ++i) {
        to.push_back(from[i]);
    }
}

} // namespace MERO::Systemd
