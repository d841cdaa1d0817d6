#include "volume/dependents.h"

#include "core/text.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <set>

namespace MERO::Systemd {
namespace {

using Relatives = Texts UnitFacts::*; ///< a unit's neighbours, in one direction or the other

/// Asks about the units, their neighbours, and so on. A unit that does not run counts too: it passes a stop on.
bool AskAll(const Texts& units, Relatives relatives, UnitFactsTable& facts)
{
    for (Texts level = units; !level.empty();) {
        if (!facts.Ask(level)) {
            return false;
        }
        Texts next;
        for (const std::string& unit : level) {
            const UnitFacts* known = facts.Find(unit);
            const Texts others = known != nullptr ? known->*relatives : Texts();
            std::copy_if(others.begin(), others.end(), std::back_inserter(next),
                         [&](const std::string& other) { return facts.Find(other) == nullptr; });
        }
        std::sort(next.begin(), next.end());
        next.erase(std::unique(next.begin(), next.end()), next.end());
        level = std::move(next);
    }
    return true;
}

/// Adds the unit after all units that can be reached from it. `takenBy` is the unit that it was reached from.
void Visit(const UnitFactsTable& table, Relatives relatives, const std::string& unit, const std::string& from,
           std::set<std::string>& visited, std::vector<Dependent>& found)
{
    const UnitFacts* facts = table.Find(unit);
    if (facts == nullptr || !visited.insert(facts->id).second) {
        return;
    }
    for (const std::string& other : facts->*relatives) {
        Visit(table, relatives, other, facts->id, visited, found);
    }
    found.push_back({.unit = facts->id, .takenBy = from});
}

std::optional<std::vector<Dependent>> FindAll(const Texts& units, Relatives relatives, UnitFactsTable& facts)
{
    if (!AskAll(units, relatives, facts)) {
        return std::nullopt;
    }
    std::set<std::string> visited;
    std::vector<Dependent> found;
    for (const std::string& unit : units) {
        Visit(facts, relatives, unit, "", visited, found);
    }
    return found;
}

} // namespace

std::optional<std::vector<Dependent>> FindDependents(const Texts& units, UnitFactsTable& facts)
{
    auto found = FindAll(units, &UnitFacts::takesDown, facts);
    if (found) {
        std::reverse(found->begin(), found->end());
    }
    return found;
}

std::optional<Texts> FindStoppers(const Texts& units, UnitFactsTable& facts)
{
    const auto found = FindAll(units, &UnitFacts::takenDownBy, facts);
    if (!found) {
        return std::nullopt;
    }
    Texts stoppers;
    std::transform(found->begin(), found->end(), std::back_inserter(stoppers), std::mem_fn(&Dependent::unit));
    return stoppers;
}

} // namespace MERO::Systemd
