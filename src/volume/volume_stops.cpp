#define MERO_SOURCE_NAME "systemd_volume_unmount_action"
#include "volume/volume_stops.h"

#include "core/errors.h"
#include "core/log.h"
#include "core/names.h"
#include "core/systemctl_dialect.h"
#include "core/text.h"
#include "platform/core/owners.h"
#include "unit/unit_file.h"
#include "volume/mount_path.h"
#include "volume/mount_users.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <set>

namespace MERO::Systemd {
namespace {

constexpr std::string_view kPackagePrefix = "pkgctl-";

/// Returns the unit that is stopped and started in place of this one.
std::string MasterOf(const std::string& unit, bool isCurrent)
{
    try {
        const std::string master = XTarvixKeyGet(unit, "Master");
        if (master.empty()) {
            return unit;
        }
        return isCurrent ? NormalizedUnitNameGet(master) : master;
    } catch (const std::exception& exception) {
        MERO_LOG(LOG_ERR, "Failed to get master unit: [%s], reason: [%s]", unit.c_str(), exception.what());
        return unit;
    }
}

/// Returns the package that the unit is a service of.
std::optional<std::string> PackageOf(const std::string& unit)
{
    if (UnitTypeGet(unit) != "service" || !unit.starts_with(kPackagePrefix)) {
        return std::nullopt;
    }
    return UnitNameWithoutFileExtensionGet(unit).substr(kPackagePrefix.size());
}

/// Returns why a unit that depends on some volumes would stop for these, if it would.
std::optional<StopCause> FindRegistration(const std::string& unit, const Texts& volumes)
{
    StopCause cause{.kind = StopCause::Kind::RegisteredByUnit, .unit = unit, .package = {}, .users = {}};
    const auto package = PackageOf(unit);
    if (package) {
        cause.kind = StopCause::Kind::RegisteredByPackage;
        cause.package = *package;
    }
    const bool isRegistered = package ? MEROSystemdVolumeIsRegisteredByPackage(*package, volumes)
                                      : MEROSystemdVolumeIsRegisteredByUnit(unit, volumes);
    return isRegistered ? std::optional(cause) : std::nullopt;
}

using Dependency = MERO_SYSTEMD_VOLUME_DEPENDENCY;

Dependency DependencyOf(const std::string& unit)
{
    Dependency dependency = MERO_SYSTEMD_VOLUME_DEPENDENCY_NONE;
    if (!MEROSystemdVolumeDependencyGet(unit, dependency) &&
        MLIBCErrGet() != MLIBC_ERR_NOT_FOUND) { // many units have no file
        MERO_LOG(LOG_ERR, "Fail to get VolumeDependency in [%s].", unit.c_str());
    }
    return dependency;
}

/// Returns why a unit would stop by its own declaration, if it would.
std::optional<StopCause> FindDeclaration(const std::string& unit, Dependency dependency, const Texts& volumes)
{
    switch (dependency) {
    case MERO_SYSTEMD_VOLUME_DEPENDENCY_ALL:
        return StopCause{.kind = StopCause::Kind::DependsOnAll, .unit = unit, .package = {}, .users = {}};
    case MERO_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL:
        return FindRegistration(unit, volumes);
    default:
        return std::nullopt;
    }
}

void WarnOfMaintenance(const std::string& unit)
{
    MERO_LOG(LOG_WARNING, "[%s] is in maintenance: it counts as not running.", unit.c_str());
}

bool IsRunning(const std::string& unit)
{
    const int status = MEROSystemdActiveStatusGet(unit);
    std::string state;
    if (status < 0 && MLIBCErrGet() == kErrorUnknownState && ConfiguredSystemctlDialect().isCurrent &&
        MEROSystemdShow(unit, "ActiveState", state) && state == "maintenance") {
        WarnOfMaintenance(unit);
    }
    return status == MERO_SYSTEMD_ACTIVE_STATUS_ACTIVE || status == MERO_SYSTEMD_ACTIVE_STATUS_ACTIVATING ||
           status == MERO_SYSTEMD_ACTIVE_STATUS_RELOADING;
}

bool IsRunning(const std::string& unit, const UnitFactsTable& facts)
{
    const UnitFacts* known = facts.Find(unit);
    if (known == nullptr) {
        return IsRunning(unit);
    }
    if (known->state == "maintenance") {
        WarnOfMaintenance(unit);
    }
    return known->IsRunning();
}

bool IsTemplate(const std::string& unit)
{
    return unit.find("@.") != unit.npos;
}

/// Adds a unit's declared cause, unless it is already there: aliases are listed too.
void AddCauseOnce(const std::string& unit, StopCause cause, VolumeStopSet& set)
{
    const UnitFacts* facts = set.facts.Find(unit);
    cause.unit = facts != nullptr ? facts->id : unit;
    std::vector<StopCause>& causes = set.stops[MasterOf(cause.unit, true)];
    const auto isSame = [&](const StopCause& other) { return other.kind == cause.kind && other.unit == cause.unit; };
    if (std::none_of(causes.begin(), causes.end(), isSame)) {
        causes.push_back(std::move(cause));
    }
}

/// Adds the running units that declare a dependency, and asks systemd about all of them at once. A template stands for
/// its loaded instances: they are what runs.
void AddDeclaredInCurrentDialect(const Texts& units, VolumeStopSet& set)
{
    struct Candidate {
        std::string unit;
        Dependency dependency;
        std::optional<StopCause> cause; ///< none: a template whose instances may have one
    };
    std::vector<Candidate> candidates;
    Texts asked;
    for (const std::string& unit : units) {
        const Dependency dependency = DependencyOf(unit);
        auto cause = FindDeclaration(unit, dependency, set.volumes);
        if (cause || (IsTemplate(unit) && dependency != MERO_SYSTEMD_VOLUME_DEPENDENCY_NONE)) {
            candidates.push_back({unit, dependency, std::move(cause)});
            asked.push_back(IsTemplate(unit) ? std::string(unit).insert(unit.find('@') + 1, "*") : unit);
        }
    }
    (void)set.facts.Ask(asked); // units that it does not show are asked about one by one
    for (const auto& [unit, dependency, own] : candidates) {
        for (const std::string& one : IsTemplate(unit) ? set.facts.InstancesOf(unit) : Texts{unit}) {
            const auto cause = own ? own : FindDeclaration(one, dependency, set.volumes);
            if (cause && IsRunning(one, set.facts)) {
                AddCauseOnce(one, *cause, set);
            }
        }
    }
}

bool AddDeclared(VolumeStopSet& set)
{
    Texts units;
    if (!MEROSystemdListUnits(units, "")) {
        MERO_LOG(LOG_ERR, "Fail to list units." MERO_CORE_ERROR_FORMAT, MERO_CORE_ERROR_VALUES);
        MERO_LOG(LOG_ERR, "Fail to list volume dependency units.");
        return false;
    }
    if (set.isCurrent) {
        AddDeclaredInCurrentDialect(units, set);
        return true;
    }
    for (const std::string& unit : units) {
        const auto cause = FindDeclaration(unit, DependencyOf(unit), set.volumes);
        if (cause && IsRunning(unit)) {
            set.stops[MasterOf(unit, false)].push_back(*cause);
        }
    }
    return true;
}

using Users = std::map<std::string, std::vector<VolumeUser>>; ///< by service

void FindUsers(const std::string& volume, MountUserSearch search, Users& users)
{
    const bool listed = ForEachMountUser(volume, search, [&](ProcessFiles& files, const MountUser& user) {
        users[user.service].push_back(
            {.pid = user.process.pid, .command = files.Command(user.process), .use = user.use, .file = user.file});
    });
    if (!listed) {
        MERO_LOG(LOG_ERR, "Fail to list services by mnt path [%s].", volume.c_str());
    }
}

void AddUsers(VolumeStopSet& set)
{
    Users users;
    for (const std::string& volume : set.volumes) {
        FindUsers(volume, set.isCurrent ? MountUserSearch::ForUnmount : MountUserSearch::AsPublished, users);
    }
    for (auto& [service, processes] : users) {
        set.stops[MasterOf(service, set.isCurrent)].push_back(
            {.kind = StopCause::Kind::UsesFiles, .unit = service, .package = {}, .users = std::move(processes)});
    }
}

/// Adds what links among the volumes lead to: files are compared by their resolved paths, which contain no links.
void AddResolved(Texts& volumes)
{
    for (std::size_t i = 0, count = volumes.size(); i < count; ++i) {
        const CMemory<char> resolved(realpath(volumes[i].c_str(), nullptr));
        if (resolved != nullptr && !Contains(volumes, resolved.get())) {
            MERO_LOG(LOG_WARNING, "[%s] leads to [%s], which is looked for too.", volumes[i].c_str(), resolved.get());
            volumes.emplace_back(resolved.get());
        }
    }
}

Texts UnitsOf(const VolumeStops& stops)
{
    Texts units;
    for (const auto& [unit, causes] : stops) {
        units.push_back(unit);
    }
    return units;
}

void AddDependents(VolumeStopSet& set)
{
    const Texts units = UnitsOf(set.stops);
    const auto all = FindDependents(units, set.facts);
    if (!all) {
        MERO_LOG(LOG_WARNING, "systemd does not say which units stop along with [%s].", Join(units).c_str());
        set.startOrder = units;
        return;
    }
    std::set<std::string> stopping;
    for (const std::string& unit : units) {
        const UnitFacts* facts = set.facts.Find(unit);
        stopping.insert(facts != nullptr ? facts->id : unit);
        if (facts == nullptr) {
            set.startOrder.push_back(unit); // not shown
        }
    }
    for (const Dependent& one : *all) {
        const bool stops = stopping.contains(one.unit), runs = set.facts.Find(one.unit)->IsRunning();
        if (!stops && runs) {
            set.dependents.push_back(one);
        }
        if (stops || runs) {
            set.startOrder.push_back(one.unit);
        }
    }
}

void FindTriggers(VolumeStopSet& set)
{
    Texts stopping = UnitsOf(set.stops);
    for (const Dependent& dependent : set.dependents) {
        stopping.push_back(dependent.unit);
    }
    std::vector<VolumeTrigger> triggers;
    Texts units;
    for (const std::string& unit : stopping) {
        const UnitFacts* facts = set.facts.Find(unit);
        for (const std::string& trigger : facts != nullptr ? facts->triggers : Texts()) {
            triggers.push_back({.unit = trigger, .service = unit});
            units.push_back(trigger);
        }
    }
    if (units.empty() || !set.facts.Ask(units)) {
        return;
    }
    std::copy_if(triggers.begin(), triggers.end(), std::back_inserter(set.triggers), [&](const VolumeTrigger& trigger) {
        const UnitFacts* facts = set.facts.Find(trigger.unit);
        return facts != nullptr && facts->IsRunning() && !Contains(stopping, facts->id);
    });
}

} // namespace

bool VolumeStopSet::StartsAgain(const std::string& dependent) const
{
    const UnitFacts* unit = facts.Find(dependent);
    return unit != nullptr && unit->canStart &&
           std::none_of(volumes.begin(), volumes.end(),
                        [&](const std::string& volume) { return IsAtOrBelow(unit->mountPoint, volume); });
}

bool AreVolumes(const Texts& volumes)
{
    const bool valid = std::all_of(volumes.begin(), volumes.end(), [](const std::string& volume) {
        return volume.starts_with('/') && !volume.ends_with('/');
    });
    if (!valid) {
        SetError(MERO_HERE, MLIBC_ERR_INVALID_ARGUMENT);
    }
    return valid;
}

bool FindVolumeStops(const Texts& volumes, VolumeStopSet& set)
{
    try {
        set.isCurrent = ConfiguredSystemctlDialect().isCurrent;
    } catch (const std::exception&) {
        return false; // logged where it was thrown
    }
    set.volumes = volumes;
    if (set.isCurrent) {
        AddResolved(set.volumes);
    }
    if (!AddDeclared(set)) {
        return false;
    }
    AddUsers(set);
    if (set.isCurrent) {
        AddDependents(set);
        FindTriggers(set);
    }
    return true;
}

} // namespace MERO::Systemd
