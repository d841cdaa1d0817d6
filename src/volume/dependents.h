#pragma once

#include "volume/unit_facts.h"

#include <optional>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// A unit that stops, and the one that systemd stops it along with; of the units that are stopped by name, none.
struct Dependent {
    std::string unit; ///< its own name, not an alias
    std::string takenBy;
};

/// `units` and all that systemd stops along with them, whether it runs or not. They stand in the order of their starts,
/// each after those that it depends on: Requisite= wants that. None when systemd does not say; `facts` has what it says
/// of each.
std::optional<std::vector<Dependent>> FindDependents(const std::vector<std::string>& units, UnitFactsTable& facts);

/// The other way: `units` and all whose stop takes them down, in the order of their starts. It also finds the way to
/// units that have stopped, which systemd soon unloads and then no other unit knows of.
std::optional<std::vector<std::string>> FindStoppers(const std::vector<std::string>& units, UnitFactsTable& facts);

} // namespace MERO::Systemd
