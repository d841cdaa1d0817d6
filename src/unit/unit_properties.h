#pragma once

#include <merosystemd/options.hpp>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// Properties of one unit, by name, as `systemctl show` prints them. If a value has several lines, only the first
/// counts; commands, such as those of ExecStartPre, become one line each.
using UnitProperties = std::map<std::string, std::string>;

/// Splits a property that is a list into its items. `systemctl show` quotes items with unusual characters.
std::vector<std::string> ItemsOf(const std::string& value);

/// The answer of one `systemctl show`.
struct ShowAnswer {
    int exitCode;
    std::vector<UnitProperties> units; ///< one for each unit shown
    std::vector<std::string> messages; ///< lines that are no properties
};

/// Runs `systemctl show` once. Ignores `opts.cmdOpts`. Returns nothing if it cannot be run.
std::optional<ShowAnswer> RunShow(const SystemctlOpts& opts, const std::vector<std::string>& units,
                                  const std::vector<std::string>& properties);

/// Asks systemd for properties of units, in one query. Returns one entry for each unit shown; nothing if systemd cannot
/// be asked or refuses one of the units. `units` may be patterns.
std::optional<std::vector<UnitProperties>> ShowUnits(const std::vector<std::string>& units,
                                                     const std::vector<std::string>& properties);

} // namespace MERO::Systemd
