#include "volume/unit_facts.h"

#include "core/text.h"
#include "unit/unit_properties.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <sstream>

namespace MERO::Systemd {
namespace {

/// The dependencies by which a stop spreads: see UNIT_ATOM_PROPAGATE_STOP in systemd's unit-dependency-atom.c.
constexpr std::array kSpreading{"RequiredBy", "RequisiteOf", "BoundBy", "ConsistsOf", "PropagatesStopTo"};

constexpr std::array kRunning{"active", "activating", "reloading", "refreshing"};

Texts Words(const std::string& text)
{
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

UnitFacts FactsOf(UnitProperties& shown)
{
    UnitFacts facts{.id = shown["Id"],
                    .state = shown["ActiveState"],
                    .result = shown["Result"],
                    .mountPoint = shown["Where"],
                    .canStart = shown["CanStart"] == "yes",
                    .takesDown = {},
                    .triggers = Words(shown["TriggeredBy"])};
    for (const char* dependency : kSpreading) {
        const Texts units = Words(shown[dependency]);
        facts.takesDown.insert(facts.takesDown.end(), units.begin(), units.end());
    }
    return facts;
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
        for (const std::string& name : Words(unit["Names"])) {
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
