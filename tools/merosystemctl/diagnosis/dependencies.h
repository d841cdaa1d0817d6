#pragma once

#include "diagnosis/diagnosis.h"
#include "diagnosis/journal.h"
#include "diagnosis/unit_properties.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace MERO::Tool {

/// The units that stopped units need, those that these need, and so on.
class Dependencies {
public:
    /// Queries systemd once for each level of dependencies that do not run. The first query includes `others`.
    Dependencies(const std::vector<UnitProperties>& units, const Texts& others);

    /// Null if the unit was not part of a query.
    const UnitProperties* Find(const std::string& name) const;

    /// The dependencies that do not run; the journal may explain why.
    Texts Down() const;

    /// Why the unit does not run: the first dependencies that failed, do not exist or were stopped. `journal` covers
    /// the unit and Down().
    std::vector<Cause> CausesOf(const UnitProperties& unit, const std::vector<JournalEntry>& journal) const;

    /// Running units that cannot run together with this one.
    std::vector<const UnitProperties*> ConflictsOf(const UnitProperties& unit) const;

    /// The properties that this class needs.
    static const std::string& Properties();

private:
    struct Search {
        const std::vector<JournalEntry>& journal;
        std::set<std::string> seen;
        std::vector<Cause> causes;
    };

    void Collect(const UnitProperties& unit, bool isRoot, Search& search) const;

    std::map<std::string, UnitProperties> known_;
    std::set<std::string> needed_; ///< dependencies, not just conflicts
};

} // namespace MERO::Tool
