#pragma once

#include "diagnosis/diagnosis.h"
#include "diagnosis/journal.h"
#include "diagnosis/unit_properties.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace MERO::Tool {

/// What units need that do not run, and what these need in turn.
class Dependencies {
public:
    /// Asks systemd: one question for each level of dependencies that do not run. The first one is about `others` too.
    Dependencies(const std::vector<UnitProperties>& units, const Texts& others);

    /// Null for a unit that systemd was not asked about.
    const UnitProperties* Find(const std::string& name) const;

    /// The dependencies that do not run, which the journal may say more of.
    Texts Down() const;

    /// The first causes for which the unit does not run: dependencies that failed, do not exist, were stopped.
    /// `journal` is that of the unit and of what is down.
    std::vector<Cause> CausesOf(const UnitProperties& unit, const std::vector<JournalEntry>& journal) const;

    /// Units that run and cannot run together with this one.
    std::vector<const UnitProperties*> ConflictsOf(const UnitProperties& unit) const;

    /// The properties of a unit that are read here.
    static const std::string& Properties();

private:
    struct Search {
        const std::vector<JournalEntry>& journal;
        std::set<std::string> seen;
        std::vector<Cause> causes;
    };

    void Collect(const UnitProperties& unit, bool isRoot, Search& search) const;

    std::map<std::string, UnitProperties> known_;
    std::set<std::string> needed_; ///< those of them that do not only conflict
};

} // namespace MERO::Tool
