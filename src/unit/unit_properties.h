#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// Properties of one unit, by name, as `systemctl show` prints them.
using UnitProperties = std::map<std::string, std::string>;

/// Asks systemd for properties of units, in one question: one entry for each unit that it shows. `units` may be
/// patterns. None when systemd cannot be asked. Properties whose values have several lines cannot be asked for.
std::optional<std::vector<UnitProperties>> ShowUnits(const std::vector<std::string>& units,
                                                     const std::vector<std::string>& properties);

} // namespace MERO::Systemd
