#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// What systemd says of a unit that may stop.
struct UnitFacts {
    std::string id;                       ///< its own name, not an alias
    std::vector<std::string> names;       ///< that, and its aliases
    std::string state;                    ///< ActiveState
    std::string result;                   ///< of its last run: "success", or what went wrong
    std::string mountPoint;               ///< of a mount and an automount
    bool canStart = false;                ///< by hand: scopes, and units with RefuseManualStart, cannot be
    std::vector<std::string> takesDown;   ///< the units that systemd stops with it
    std::vector<std::string> takenDownBy; ///< the units that it stops with
    std::vector<std::string> triggers;    ///< the sockets, paths and timers that start it on demand

    /// Whether stopping it means something: it is active or on the way there.
    bool IsRunning() const;
};

/// Facts of many units, each asked for once. For the dialect of today.
class UnitFactsTable {
public:
    /// Asks for those that are not known yet, all in one question. `units` may be patterns. False when systemd cannot
    /// be asked.
    bool Ask(const std::vector<std::string>& units);

    /// By any of the unit's names; nullptr when it was not shown.
    const UnitFacts* Find(const std::string& unit) const;

    /// The loaded units that a pattern of Ask has brought: the instances of a template "name@.service", by their ids.
    std::vector<std::string> InstancesOf(const std::string& templateName) const;

private:
    std::map<std::string, std::shared_ptr<const UnitFacts>> facts_; ///< by each name
};

} // namespace MERO::Systemd
