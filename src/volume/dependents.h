#pragma once

#include "volume/unit_facts.h"

#include <optional>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// A unit that stops, and the unit that systemd stops it along with; empty for a unit that is stopped by name.
struct Dependent {
    std::string unit; ///< its own name, not an alias
    std::string takenBy;
};

/// Returns `units` and all that systemd stops along with them, running or not, in start order: each after the units
/// that it depends on, as Requisite= needs it. Returns nothing if systemd does not answer; `facts` gets its answers.
std::optional<std::vector<Dependent>> FindDependents(const std::vector<std::string>& units, UnitFactsTable& facts);

/// The other direction: returns `units` and all units whose stop takes them down, in start order. This also works for
/// units that have stopped: systemd soon unloads them, and then no other unit names them.
std::optional<std::vector<std::string>> FindStoppers(const std::vector<std::string>& units, UnitFactsTable& facts);

} // namespace MERO::Systemd
