#include "volume/stopped_along.h"

#include "core/directory_entries.h"
#include "core/directory_walk.h"
#include "core/errors.h"
#include "core/names.h"
#include "core/text.h"
#include "volume/dependents.h"
#include "volume/start_again.h"

#include <merosystemd/systemd.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <optional>
#include <set>

namespace MERO::Systemd {
namespace {

const std::string kRecords = "/run/merosystemd/stopped-along/";

Texts ReadRecord(const std::string& service)
{
    Texts units;
    (void)DirectoryEntries(kRecords + NormalizedUnitNameGet(service), units);
    std::erase_if(units, [](const std::string& name) { return !HasKnownUnitType(name); });
    return units;
}

/// Leaves an existing entry as it is.
bool AddToRecord(const Descriptor& folder, const std::string& unit)
{
    return static_cast<bool>(Descriptor(
               openat(folder.Get(), unit.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644))) ||
           errno == EEXIST;
}

/// Tries all of them, even if one fails. Returns false, with an errno, if one did.
bool WriteRecord(const std::string& service, const Texts& units)
{
    const DirectoryWalk folder = WalkToDirectory(kRecords + NormalizedUnitNameGet(service), IfMissing::Make);
    int error = folder.error;
    for (const std::string& unit : folder.directory ? units : Texts()) {
        error = AddToRecord(folder.directory, unit) ? error : errno;
    }
    errno = error;
    return error == 0;
}

/// Returns the units in the records of all services for which `passes` is true.
std::set<std::string> Recorded(bool (*passes)(const std::string& service))
{
    Texts services;
    (void)DirectoryEntries(kRecords, services);
    std::set<std::string> all;
    for (const std::string& service : services) {
        const Texts units = passes(service) ? ReadRecord(service) : Texts();
        all.insert(units.begin(), units.end());
    }
    return all;
}

void DropRecord(const std::string& service, const Texts& units)
{
    if (units.empty() || CheckServiceHasReason(service)) {
        return;
    }
    const std::string folder = kRecords + NormalizedUnitNameGet(service) + "/";
    for (const std::string& unit : units) {
        (void)unlink((folder + unit).c_str());
    }
    if (CheckServiceHasReason(service)) { // since the first check
        (void)WriteRecord(service, units);
    }
}

bool HasReason(const UnitFacts& unit)
{
    return std::any_of(unit.names.begin(), unit.names.end(), CheckServiceHasReason);
}

/// Returns those of the recorded units that may start, in start order; nothing if systemd does not answer.
std::optional<StoppedUnits> FindStarting(const std::set<std::string>& recorded)
{
    UnitFactsTable facts;
    const auto all = FindStoppers({recorded.begin(), recorded.end()}, facts);
    if (!all) {
        return std::nullopt;
    }
    StoppedUnits starting;
    for (const std::string& unit : *all) {
        const UnitFacts* known = facts.Find(unit);
        if (recorded.contains(unit) && !HasReason(*known)) {
            (known->canStart ? starting.units : starting.lost).push_back(unit);
        }
    }
    return starting;
}

/// Returns the running units that stop along with a service, and the recorded ones that would.
Texts FindStopping(const std::string& service, const Texts& recorded, UnitFactsTable& facts)
{
    Texts stopping;
    for (const Dependent& one : FindDependents({service}, facts).value_or(std::vector<Dependent>())) {
        if (facts.Find(one.unit)->IsRunning()) {
            stopping.push_back(one.unit);
        }
    }
    for (const std::string& unit : recorded) {
        const UnitFacts* self = facts.Find(service);
        if (self != nullptr && !Contains(stopping, unit) &&
            Contains(FindStoppers({unit}, facts).value_or(Texts()), self->id)) {
            stopping.push_back(unit);
        }
    }
    std::erase_if(stopping, [&](const std::string& unit) {
        const UnitFacts* known = facts.Find(unit);
        return known == nullptr || HasReason(*known);
    });
    return stopping;
}

} // namespace

void RecordStoppedAlong(SourceLine where, const Texts& services)
{
    const ErrorKeeper keeper;
    Texts names;
    std::transform(services.begin(), services.end(), std::back_inserter(names), NormalizedUnitNameGet);
    const std::set<std::string> others = Recorded([](const std::string&) { return true; });
    const Texts recorded(others.begin(), others.end());
    UnitFactsTable facts;
    if (!FindDependents(names, facts) || !FindStoppers(recorded, facts)) { // all at once, for FindStopping
        MERO_LOG_AT(where, LOG_WARNING, "systemd does not say which units stop along with [%s].", Join(names).c_str());
        return;
    }
    for (const std::string& name : names) {
        const Texts units = FindStopping(name, recorded, facts);
        if (!units.empty() && !WriteRecord(name, units)) {
            MERO_LOG_AT(where, LOG_WARNING, "Cannot note that [%s] stop along with [%s]: %m. They may stay stopped.",
                        Join(units).c_str(), name.c_str());
        }
    }
}

bool IsStoppedAlongRecorded(const Texts& services)
{
    const ErrorKeeper keeper;
    return std::any_of(services.begin(), services.end(),
                       [](const std::string& one) { return !ReadRecord(one).empty(); });
}

void StartStoppedAlong(SourceLine where, const Texts& services)
{
    const ErrorKeeper keeper;
    std::set<std::string> recorded;
    for (const std::string& service : services) {
        const Texts units = CheckServiceHasReason(service) ? Texts() : ReadRecord(service);
        recorded.insert(units.begin(), units.end());
    }
    for (const std::string& unit : Recorded(CheckServiceHasReason)) {
        recorded.erase(unit);
    }
    const std::optional<StoppedUnits> starting = recorded.empty() ? StoppedUnits() : FindStarting(recorded);
    if (!starting) {
        MERO_LOG_AT(where, LOG_ERR, "systemd does not say whether [%s] run again.",
                    Join({recorded.begin(), recorded.end()}).c_str());
        return;
    }
    const Texts down = StartAgain(where, *starting, "the release");
    for (const std::string& service : services) {
        Texts units = ReadRecord(service);
        std::erase_if(units,
                      [&](const std::string& unit) { return Contains(down, unit) && Contains(starting->units, unit); });
        DropRecord(service, units);
    }
}

void ForgetStoppedAlong(const Texts& services)
{
    const ErrorKeeper keeper;
    for (const std::string& service : services) {
        DropRecord(service, ReadRecord(service));
    }
}

} // namespace MERO::Systemd
