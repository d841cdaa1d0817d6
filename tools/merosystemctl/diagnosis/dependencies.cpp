#include "diagnosis/dependencies.h"

#include "diagnosis/failure.h"
#include "diagnosis/holds.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <optional>

namespace MERO::Tool {
namespace {

constexpr const char* kNeeds[] = {"Requires", "Requisite", "BindsTo", "PartOf"};
constexpr const char* kConflicts[] = {"Conflicts", "ConflictedBy"};

/// Nearly every unit depends on these. They run, unless the whole machine is in a state that is reported separately.
bool IsEverywhere(const std::string& name)
{
    constexpr const char* kNames[] = {"sysinit.target", "basic.target",  "shutdown.target", "umount.target",
                                      "system.slice",   "user.slice",    "-.slice",         "-.mount",
                                      "app.slice",      "session.slice", "background.slice"};
    return std::find(std::begin(kNames), std::end(kNames), name) != std::end(kNames);
}

struct DependencyFault {
    std::string text, remedy;
    bool isFirst = true; ///< false: something that it needs itself may be the cause
};

/// The fault of a dependency that explains why `unit` does not run.
std::optional<DependencyFault> FaultOf(const UnitProperties& unit, const std::string& need,
                                       const UnitProperties& needed, const std::vector<JournalEntry>& journal)
{
    const std::string& name = needed["Id"];
    const std::string why = "merosystemctl why " + name;
    if (needed["ActiveState"] == "failed") {
        return DependencyFault{"failed, " + FailureText(needed), why};
    }
    if (IsRestarting(needed)) {
        return DependencyFault{"is restarted again and again, " + FailureText(needed), why};
    }
    if (needed["ActiveState"] == "activating" && !unit["Job"].empty()) {
        return DependencyFault{"is still starting", why};
    }
    if (needed["ActiveState"] != "inactive") {
        return std::nullopt;
    }
    if (needed["LoadState"] == "not-found") {
        return DependencyFault{"does not exist", why};
    }
    if (needed["LoadState"] != "loaded") {
        return DependencyFault{"is " + needed["LoadState"], why};
    }
    if (const std::vector<Cause> holds = HoldsOf(name); !holds.empty()) {
        return DependencyFault{"is held " + holds.front().text, holds.front().remedy};
    }
    if (name.ends_with(".device") && need != "PartOf") {
        return DependencyFault{"is missing", ""};
    }
    if (StoppedTogether(journal, unit["Id"], name)) {
        return DependencyFault{"was stopped at the same time (" + need + "=)", "merosystemctl start " + name, false};
    }
    if (need == "Requisite") {
        return DependencyFault{"does not run, and must run before (Requisite=)", "merosystemctl start " + name, false};
    }
    return std::nullopt;
}

} // namespace

const std::string& Dependencies::Properties()
{
    static const std::string properties = std::string(kFailureProperties) +
                                          ",LoadState,Job,Requires,Requisite,BindsTo,PartOf,Conflicts,ConflictedBy,"
                                          "ActiveExitTimestampMonotonic";
    return properties;
}

Dependencies::Dependencies(const std::vector<UnitProperties>& units, const Texts& others)
{
    std::set<std::string> asked(others.begin(), others.end());
    std::vector<UnitProperties> level = units;
    for (bool isRoot = true; !level.empty(); isRoot = false) {
        Texts names = isRoot ? others : Texts();
        const auto add = [&](const UnitProperties& unit, const char* list) {
            for (const std::string& name : unit.List(list)) {
                if (!IsEverywhere(name) && asked.insert(name).second) {
                    names.push_back(name);
                }
            }
        };
        for (const UnitProperties& unit : level) {
            for (const char* need : kNeeds) {
                add(unit, need);
                const Texts needed = unit.List(need);
                needed_.insert(needed.begin(), needed.end());
            }
            for (const char* conflict : kConflicts) {
                isRoot ? add(unit, conflict) : void();
            }
        }
        const std::vector<UnitProperties> answers =
            names.empty() ? std::vector<UnitProperties>() : AskProperties(names, Properties().c_str());
        level.clear();
        for (std::size_t i = 0; i < answers.size(); ++i) {
            known_[names[i]] = answers[i];
            if (answers[i]["ActiveState"] == "inactive" && needed_.contains(names[i])) {
                level.push_back(answers[i]);
            }
        }
    }
}

const UnitProperties* Dependencies::Find(const std::string& name) const
{
    const auto found = known_.find(name);
    return found != known_.end() && found->second.WasAsked() ? &found->second : nullptr;
}

void Dependencies::Collect(const UnitProperties& unit, bool isRoot, Search& search) const
{
    for (const std::string need : kNeeds) {
        for (const std::string& name : unit.List(need)) {
            const UnitProperties* needed = Find(name);
            if (needed == nullptr || !search.seen.insert((*needed)["Id"]).second) {
                continue;
            }
            const std::optional<DependencyFault> fault = FaultOf(unit, need, *needed, search.journal);
            const std::size_t count = search.causes.size();
            const bool isDown = (*needed)["ActiveState"] == "inactive" && (fault || need != "PartOf");
            if (isDown && !(fault && fault->isFirst)) {
                Collect(*needed, false, search);
            }
            if (fault && search.causes.size() == count) {
                const std::string& id = (*needed)["Id"];
                const std::string by = isRoot ? "" : " (needed by " + unit["Id"] + ")";
                search.causes.push_back({"dependency", id + " " + fault->text + by, fault->remedy, id});
            }
        }
    }
}

Texts Dependencies::Down() const
{
    std::set<std::string> names;
    for (const std::string& name : needed_) {
        const UnitProperties* unit = Find(name);
        if (unit != nullptr && !Runs(*unit) && (*unit)["LoadState"] != "not-found") {
            names.insert((*unit)["Id"]);
        }
    }
    return {names.begin(), names.end()};
}

std::vector<Cause> Dependencies::CausesOf(const UnitProperties& unit, const std::vector<JournalEntry>& journal) const
{
    Search search{.journal = journal, .seen = {unit["Id"]}, .causes = {}};
    Collect(unit, true, search);
    return search.causes;
}

std::vector<const UnitProperties*> Dependencies::ConflictsOf(const UnitProperties& unit) const
{
    std::vector<const UnitProperties*> conflicts;
    for (const char* list : kConflicts) {
        for (const std::string& name : unit.List(list)) {
            const UnitProperties* other = Find(name);
            if (other != nullptr && ((*other)["ActiveState"] == "active" || (*other)["ActiveState"] == "activating")) {
                conflicts.push_back(other);
            }
        }
    }
    return conflicts;
}

} // namespace MERO::Tool
