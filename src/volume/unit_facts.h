#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// systemd's facts about a unit that may stop.
struct UnitFacts {
    std::string id;                       ///< its own name, not an alias
    std::vector<std::string> names;       ///< the id and its aliases
    std::string state;                    ///< ActiveState
    std::string result;                   ///< Result: "success", or what went wrong in the last run
    std::string mountPoint;               ///< of a mount or an automount
    bool canStart = false;                ///< by hand; false for scopes and units with RefuseManualStart
    std::vector<std::string> takesDown;   ///< the units that systemd stops along with it
    std::vector<std::string> takenDownBy; ///< the units that it stops along with
    std::vector<std::string> triggers;    ///< the sockets, paths and timers that start it on demand

    /// Whether there is something to stop: the unit is active or becoming active.
    bool IsRunning() const;
};

/// Facts about many units, each asked for once. For the current dialect.
class UnitFactsTable {
public:
    /// Asks about the units that are not known yet, in one query. `units` may be patterns. Returns false if systemd
    /// cannot be asked.
    bool Ask(const std::vector<std::string>& units);

    /// Finds a unit by any of its names; nullptr if systemd has not shown it.
    const UnitFacts* Find(const std::string& unit) const;

    /// Returns the ids of the instances of a template "name@.service" that a pattern in Ask has found loaded.
    std::vector<std::string> InstancesOf(const std::string& templateName) const;

private:
    std::map<std::string, std::shared_ptr<const UnitFacts>> facts_; ///< by each name
};

} // namespace MERO::Systemd
