#include "core/c_values.h"
#include "core/errors.h"
#include "core/names.h"
#include "core/text.h"
#include "unit/unit_properties.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <set>
#include <utility>

using namespace MERO::Systemd;

namespace {

constexpr int kMaxQueries = 17; // each sets aside at least one refused name

/// Returns the name to ask for; empty if systemctl would refuse it or take it for something else.
std::string AskedName(const std::string& unit)
{
    const bool isNumber = unit.find_first_not_of("0123456789") == unit.npos; // a process ID
    const std::string name = isNumber ? std::string() : NormalizedUnitNameGet(unit);
    return IsUnitName(name) ? name : std::string();
}

/// Returns the words of systemctl's messages, some of which are unit names: "Unit name x.service is neither a valid
/// invocation ID nor unit name."
std::set<std::string> NamesIn(const Texts& lines)
{
    std::set<std::string> names;
    for (const std::string& line : lines) {
        Texts words;
        (void)Split(line, words, " \"',;\n");
        for (const std::string& word : words) {
            names.insert(word.substr(0, word.find_last_not_of(".:") + 1));
        }
    }
    return names;
}

/// Asks systemd about units until it has shown all but those that it refuses.
class Query {
public:
    Query(bool forceSystem, Texts properties) : properties_(std::move(properties))
    {
        opts_.forceSystem = forceSystem;
        for (const char* name : {"Id", "Names"}) {
            if (!Contains(properties_, name)) {
                properties_.emplace_back(name);
            }
        }
    }

    /// Returns false if systemd does not answer.
    bool Ask(Texts units)
    {
        bool hasAnswered = false, isSilent = false;
        for (int i = 0; i < kMaxQueries && !units.empty(); ++i) {
            const auto answer = RunShow(opts_, units, properties_);
            if (!answer) {
                break;
            }
            Add(answer->units);
            if (answer->exitCode == 0) {
                break;
            }
            const auto shown = std::erase_if(units, [&](const std::string& unit) { return shown_.contains(unit); });
            const auto refused = NamesIn(answer->messages);
            const auto named = std::erase_if(units, [&](const std::string& unit) { return refused.contains(unit); });
            if (std::exchange(isSilent, shown + named == 0) && isSilent) {
                break; // the silence is not one unit's fault
            }
            hasAnswered = hasAnswered || !isSilent;
            if (named == 0 && !units.empty()) {
                units.erase(units.begin()); // systemctl stops at the first one that it refuses
            }
        }
        return hasAnswered || !shown_.empty();
    }

    const UnitProperties* Find(const std::string& name) const
    {
        const auto found = shown_.find(name);
        return found != shown_.end() ? &found->second : nullptr;
    }

private:
    void Add(const std::vector<UnitProperties>& units)
    {
        for (const UnitProperties& unit : units) {
            const auto id = unit.find("Id");
            const auto names = unit.find("Names");
            if (id != unit.end() && names != unit.end()) {
                shown_[id->second] = unit;
                for (const std::string& name : ItemsOf(names->second)) {
                    shown_[name] = unit;
                }
            }
        }
    }

    Texts properties_;
    SystemctlOpts opts_;
    std::map<std::string, UnitProperties> shown_; ///< by each of a unit's names
};

bool ShowProperties(bool forceSystem, const Texts& vecUnits, const Texts& vecProperties,
                    std::map<std::string, ShownUnit>& units)
{
    if (!MERO_VALID(!vecUnits.empty()) || !MERO_VALID(!vecProperties.empty())) {
        return false;
    }
    Texts names;
    std::set<std::string> seen;
    for (const std::string& unit : vecUnits) {
        const std::string name = AskedName(unit);
        if (!name.empty() && seen.insert(name).second) {
            names.push_back(name);
        }
    }
    Query query(forceSystem, vecProperties);
    if (!names.empty() && !query.Ask(names)) {
        return false;
    }
    std::map<std::string, ShownUnit> all;
    for (const std::string& unit : vecUnits) {
        const UnitProperties* properties = query.Find(AskedName(unit));
        all[unit] = properties != nullptr ? ShownUnit{.asked = true, .properties = *properties} : ShownUnit();
    }
    units = std::move(all);
    return true;
}

} // namespace

bool MEROSystemdShowProperties(const Texts& vecUnits, const Texts& vecProperties,
                               std::map<std::string, ShownUnit>& units)
{
    return ShowProperties(false, vecUnits, vecProperties, units);
}

bool MEROSystemdShowPropertiesSystem(const Texts& vecUnits, const Texts& vecProperties,
                                     std::map<std::string, ShownUnit>& units)
{
    return ShowProperties(true, vecUnits, vecProperties, units);
}

int MEROCSystemdShowProperties(const MLIBCSzList* pListUnits, const MLIBCSzList* pListProperties,
                               MEROSystemdPropertyCallback callback, void* pData)
{
    return MERO_VALID(nullptr != pListUnits) && MERO_VALID(nullptr != pListProperties) &&
           MERO_VALID(nullptr != callback) && WithoutExceptions(MERO_HERE, [=] {
               std::map<std::string, ShownUnit> units;
               const bool shown = MEROSystemdShowProperties(FromList(pListUnits), FromList(pListProperties), units);
               for (const auto& [unit, what] : units) {
                   if (!what.asked) {
                       callback(unit.c_str(), nullptr, nullptr, pData);
                   }
                   for (const auto& [property, value] : what.properties) {
                       callback(unit.c_str(), property.c_str(), value.c_str(), pData);
                   }
               }
               return shown;
           });
}
