#include "running/dry_run.h"

#include "diagnosis/manager.h"
#include "diagnosis/report.h"
#include "diagnosis/unit_properties.h"
#include "running/general_options.h"
#include "running/unit_patterns.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <set>

namespace MERO::Tool {
namespace {

// The dependencies through which a stop spreads and a start pulls in other units: see systemd's unit-dependency-atom.c.
const Texts kStopping{"RequiredBy", "RequisiteOf", "BoundBy", "ConsistsOf", "PropagatesStopTo"};
const Texts kStarting{"Requires", "BindsTo", "Wants", "Upholds"};
constexpr const char* kStates = "Id,LoadState,ActiveState,TriggeredBy,Conflicts,ConflictedBy,IgnoreOnIsolate,"
                                "ConditionResult,ConditionTimestampMonotonic";
const Texts kUnknown{"whether commands will fail, and conditions will be met", "what is started or stopped meanwhile",
                     "unit files that were changed after the last daemon-reload"};

struct Reached {
    UnitProperties unit;
    std::string from; ///< empty: the user named it
};

using ReachedUnits = std::map<std::string, Reached>; ///< by Id

bool Runs(const UnitProperties& unit)
{
    const std::string& state = unit["ActiveState"];
    return state != "inactive" && state != "failed" && state != "deactivating";
}

/// Whether a condition kept it from running at its last start, as it does for most units that every start pulls in.
bool IsSkipped(const UnitProperties& unit)
{
    return !Runs(unit) && unit["ConditionResult"] == "no" && unit["ConditionTimestampMonotonic"] != "0";
}

/// The units, the units on their `lists`, the units on the lists of those, and so on.
ReachedUnits Reach(const Texts& units, const Texts& lists)
{
    std::string properties = kStates;
    for (const std::string& list : lists) {
        properties += "," + list;
    }
    ReachedUnits reached;
    std::map<std::string, std::string> from; // by the name in the query
    for (const std::string& unit : units) {
        from[unit] = "";
    }
    for (Texts level = units; !level.empty();) {
        const std::vector<UnitProperties> answer = AskProperties(level, properties.c_str());
        if (answer.empty()) {
            throw FailureOf("asking for dependencies");
        }
        Texts next;
        for (std::size_t i = 0; i < level.size(); ++i) {
            const UnitProperties& unit = answer[i];
            if (from[level[i]].empty() && (unit["Id"].empty() || IsMissing(unit["LoadState"]))) {
                throw CommandError(kNoSuchUnit, level[i] + ": " + NoSuchUnitText());
            }
            if (unit["Id"].empty() || IsSkipped(unit) ||
                !reached.try_emplace(unit["Id"], Reached{unit, from[level[i]]}).second) {
                continue;
            }
            for (const std::string& list : lists) {
                for (const std::string& other : unit.List(list)) {
                    if (from.try_emplace(other, unit["Id"]).second) {
                        next.push_back(other);
                    }
                }
            }
        }
        level = next;
    }
    return reached;
}

/// The active units that can start `unit` again and do not stop themselves.
Texts Triggers(const UnitProperties& unit, const ReachedUnits& stopping)
{
    Texts triggers = unit.List("TriggeredBy");
    std::erase_if(triggers, [&](const std::string& trigger) { return stopping.contains(trigger); });
    const auto states = triggers.empty() ? std::vector<UnitProperties>() : AskProperties(triggers, "ActiveState");
    Texts active;
    for (std::size_t i = 0; i < states.size(); ++i) {
        if (Runs(states[i])) {
            active.push_back(triggers[i]);
        }
    }
    return active;
}

/// Adds the running units that the start of `unit` stops because they conflict.
void AddConflicts(const std::string& id, const UnitProperties& unit, std::vector<Foreseen>& changes)
{
    Texts others = unit.List("Conflicts");
    const Texts more = unit.List("ConflictedBy");
    others.insert(others.end(), more.begin(), more.end());
    const auto states = others.empty() ? std::vector<UnitProperties>() : AskProperties(others, "ActiveState");
    for (std::size_t i = 0; i < states.size(); ++i) {
        if (Runs(states[i])) {
            changes.push_back({others[i], "stops", "conflicts with " + id});
        }
    }
}

std::string CauseOf(const Reached& reached, const std::string& relation)
{
    return reached.from.empty() ? "named" : relation + " " + reached.from;
}

void AddStarts(const ReachedUnits& pulledIn, std::vector<Foreseen>& changes)
{
    for (const auto& [id, reached] : pulledIn) {
        if (!Runs(reached.unit) && reached.unit["LoadState"] == "loaded") {
            changes.push_back({id, "starts", CauseOf(reached, "needed by")});
        }
    }
}

} // namespace

std::vector<Foreseen> ForeseeStop(const Texts& units)
{
    std::vector<Foreseen> changes;
    const ReachedUnits stopping = Reach(units, kStopping);
    for (const auto& [id, reached] : stopping) {
        if (Runs(reached.unit)) {
            changes.push_back({id, "stops", CauseOf(reached, "along with")});
        } else if (reached.from.empty()) {
            changes.push_back({id, "stays stopped", "it does not run"});
        }
        for (const std::string& trigger : Triggers(reached.unit, stopping)) {
            changes.push_back({id, "can start again", "on demand by " + trigger});
        }
    }
    return changes;
}

std::vector<Foreseen> ForeseeStart(const Texts& units)
{
    std::vector<Foreseen> changes;
    const ReachedUnits pulledIn = Reach(units, kStarting);
    AddStarts(pulledIn, changes);
    for (const auto& [id, reached] : pulledIn) {
        if (!Runs(reached.unit)) {
            AddConflicts(id, reached.unit, changes);
        }
    }
    return changes;
}

std::vector<Foreseen> ForeseeIsolation(const std::string& target)
{
    const ReachedUnits wanted = Reach({target}, kStarting);
    std::vector<Foreseen> changes;
    AddStarts(wanted, changes);
    const std::vector<UnitProperties> loaded = AskProperties(LoadedUnits("", {"*"}), kStates);
    std::set<std::string> kept, running;
    for (const UnitProperties& unit : loaded) {
        if (unit["IgnoreOnIsolate"] == "yes" || wanted.contains(unit["Id"])) {
            kept.insert(unit["Id"]);
        } else if (Runs(unit)) {
            running.insert(unit["Id"]);
        }
    }
    const auto hasOneOf = [](const Texts& names, const std::set<std::string>& units) {
        return std::any_of(names.begin(), names.end(), [&](const std::string& name) { return units.contains(name); });
    };
    for (const UnitProperties& unit : loaded) {
        // systemd keeps a unit whose trigger it keeps, and mistakes a trigger that it has already decided to stop for a
        // kept one: see transaction_add_isolate_jobs().
        const Texts triggers = unit.List("TriggeredBy");
        if (!running.contains(unit["Id"]) || hasOneOf(triggers, kept)) {
            continue;
        }
        const bool isTriggered = hasOneOf(triggers, running);
        changes.push_back({unit["Id"], isTriggered ? "may stop" : "stops",
                           isTriggered ? "as does " + ToCell(triggers) : target + " does not need it"});
    }
    return changes;
}

int PrintForeseen(const std::vector<Foreseen>& changes, bool json)
{
    if (json) {
        Json::Value object(Json::objectValue);
        object["changes"] = Json::Value(Json::arrayValue);
        for (const Foreseen& change : changes) {
            Json::Value& entry = object["changes"].append(Json::objectValue);
            entry["unit"] = change.unit;
            entry["change"] = change.change;
            entry["cause"] = change.cause;
        }
        object["unknown"] = ToJson(kUnknown);
        PrintJson(object);
        return kDone;
    }
    std::vector<Texts> rows{{"UNIT", "CHANGE", "CAUSE"}};
    for (const Foreseen& change : changes) {
        rows.push_back({change.unit, change.change, change.cause});
    }
    PrintTable(rows);
    if (!General().quiet) {
        PrintError("nothing was done; computed from the dependencies loaded now");
        for (const std::string& unknown : kUnknown) {
            std::cerr << "  not known: " << unknown << '\n';
        }
    }
    return kDone;
}

} // namespace MERO::Tool
