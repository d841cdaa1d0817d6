#pragma once

#include <merosystemd/options.hpp>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// Properties of one unit, by name, as `systemctl show` prints them. Of a value with several lines the first counts,
/// but of commands, such as those of ExecStartPre, each is a line.
using UnitProperties = std::map<std::string, std::string>;

/// The items of a property that is a list: `systemctl show` quotes those with odd characters.
std::vector<std::string> ItemsOf(const std::string& value);

/// What one `systemctl show` said.
struct ShowAnswer {
    int exitCode;
    std::vector<UnitProperties> units; ///< one entry for each unit that was shown
    std::vector<std::string> messages; ///< the lines that are no properties
};

/// Runs `systemctl show` once. `opts.cmdOpts` does not count. None when it cannot be run.
std::optional<ShowAnswer> RunShow(const SystemctlOpts& opts, const std::vector<std::string>& units,
                                  const std::vector<std::string>& properties);

/// Asks systemd for properties of units, in one question: one entry for each unit that it shows. `units` may be
/// patterns. None when systemd cannot be asked, or refuses one of the units.
std::optional<std::vector<UnitProperties>> ShowUnits(const std::vector<std::string>& units,
                                                     const std::vector<std::string>& properties);

} // namespace MERO::Systemd
