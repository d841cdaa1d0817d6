#include "volume/start_again.h"

#include "core/names.h"
#include "core/text.h"
#include "volume/unit_facts.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <iterator>

namespace MERO::Systemd {
namespace {

/// Whether to start a unit without its dependencies: a target would start everything that it wants, a slice needs none.
bool StartsByItself(const std::string& unit)
{
    const std::string type = UnitTypeGet(unit);
    return type == "target" || type == "slice";
}

/// Starts units in order, then targets and slices.
void Start(const Texts& down)
{
    Texts units, targets, failed;
    std::partition_copy(down.begin(), down.end(), std::back_inserter(targets), std::back_inserter(units),
                        StartsByItself);
    // Services last: systemctl queues units one by one, and a socket cannot be started once its service runs.
    std::stable_partition(units.begin(), units.end(),
                          [](const std::string& unit) { return UnitTypeGet(unit) != "service"; });
    if (!units.empty()) {
        (void)MEROSystemdStart(units, failed);
    }
    if (!targets.empty()) {
        (void)MEROSystemdStartWithOptions({"--job-mode=ignore-dependencies"}, targets, failed);
    }
}

} // namespace

Texts StartAgain(SourceLine where, const StoppedUnits& stopped, const char* after)
{
    Texts all = stopped.units;
    all.insert(all.end(), stopped.lost.begin(), stopped.lost.end());
    UnitFactsTable facts;
    if (!facts.Ask(all)) {
        MERO_LOG_AT(where, LOG_ERR, "systemd does not say whether [%s] run again.", Join(all).c_str());
        return all;
    }
    std::erase_if(all, [&](const std::string& unit) {
        const UnitFacts* known = facts.Find(unit);
        return known == nullptr || known->IsRunning();
    });
    // Units that were just tried are tried again only if others are down too: they may have needed those.
    const auto wasTried = [&](const std::string& unit) { return Contains(stopped.tried, unit); };
    Texts down;
    std::copy_if(all.begin(), all.end(), std::back_inserter(down),
                 [&](const std::string& unit) { return !Contains(stopped.lost, unit); });
    if (!std::all_of(down.begin(), down.end(), wasTried)) {
        Start(down);
        facts = UnitFactsTable();
        (void)facts.Ask(all);
        std::erase_if(all, [&](const std::string& unit) {
            const UnitFacts* known = facts.Find(unit);
            return known != nullptr && known->IsRunning();
        });
    }
    for (const std::string& unit : all) {
        const UnitFacts* known = facts.Find(unit);
        if (known != nullptr) {
            MERO_LOG_AT(where, LOG_ERR, "[%s] does not run after %s: it is %s, its result is [%s]%s.", unit.c_str(),
                        after, known->state.c_str(), known->result.c_str(),
                        Contains(stopped.lost, unit) ? ", and it cannot be started by hand" : "");
        }
    }
    return all;
}

} // namespace MERO::Systemd
