#include "volume/unit_facts.h"

#include "core/text.h"
#include "unit/unit_properties.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace MERO::Systemd {
namespace {

/// The dependencies that propagate a stop: see UNIT_ATOM_PROPAGATE_STOP in systemd's unit-dependency-atom.c.
constexpr std::array kSpreading{"RequiredBy", "RequisiteOf", "BoundBy", "ConsistsOf", "PropagatesStopTo"};
/// The same dependencies, seen from the units that are stopped.
constexpr std::array kSpreadFrom{"Requires", "Requisite", "BindsTo", "PartOf", "StopPropagatedFrom"};

constexpr std::array kRunning{"active", "activating", "reloading", "refreshing"};

template <std::size_t N>
Texts AllItems(UnitProperties& shown, const std::array<const char*, N>& properties)
{
    Texts all;
    for (const char* property : properties) {
        const Texts some = ItemsOf(shown[property]);
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

UnitFacts FactsOf(UnitProperties& shown)
{
    return {.id = shown["Id"],
            .names = ItemsOf(shown["Names"]),
            .state = shown["ActiveState"],
            .result = shown["Result"],
            .mountPoint = shown["Where"],
            .canStart = shown["CanStart"] == "yes",
            .takesDown = AllItems(shown, kSpreading),
            .takenDownBy = AllItems(shown, kSpreadFrom),
            .triggers = ItemsOf(shown["TriggeredBy"])};
}

} // namespace

bool UnitFacts::IsRunning() const
{
    return std::find(kRunning.begin(), kRunning.end(), state) != kRunning.end();
}

bool UnitFactsTable::Ask(const Texts& units)
{
    static const Texts kProperties = [] {
        Texts all{"Id", "Names", "ActiveState", "Result", "Where", "CanStart", "TriggeredBy"};
        all.insert(all.end(), kSpreading.begin(), kSpreading.end());
        all.insert(all.end(), kSpreadFrom.begin(), kSpreadFrom.end());
        return all;
    }();
    Texts unknown;
    std::copy_if(units.begin(), units.end(), std::back_inserter(unknown),
                 [&](const std::string& unit) { return !facts_.contains(unit); });
    if (unknown.empty()) {
        return true;
    }
    auto shown = ShowUnits(unknown, kProperties);
    if (!shown) {
        return false;
    }
    for (UnitProperties& unit : *shown) {
        const auto facts = std::make_shared<const UnitFacts>(FactsOf(unit));
        for (const std::string& name : facts->names) {
            facts_[name] = facts;
        }
    }
    return true;
}

const UnitFacts* UnitFactsTable::Find(const std::string& unit) const
{
    const auto found = facts_.find(unit);
    return found != facts_.end() ? found->second.get() : nullptr;
}

Texts UnitFactsTable::InstancesOf(const std::string& templateName) const
{
    const std::string prefix = templateName.substr(0, templateName.find('@') + 1);
    const std::string suffix = templateName.substr(prefix.size());
    Texts instances;
    for (const auto& [name, facts] : facts_) {
        if (name.size() > templateName.size() && name.starts_with(prefix) && name.ends_with(suffix) &&
            name == facts->id) {
            instances.push_back(name);
        }
    }
    return instances;
}

} // namespace MERO::Systemd
