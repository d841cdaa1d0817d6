#define MERO_SOURCE_NAME "systemd_volume_unmount_action"
#include "volume/volume_stops.h"

#include "core/errors.h"
#include "core/log.h"
#include "core/names.h"
#include "core/systemctl_dialect.h"
#include "core/text.h"
#include "unit/unit_file.h"
#include "volume/mount_users.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <optional>

namespace MERO::Systemd {
namespace {

constexpr std::string_view kPackagePrefix = "pkgctl-";

/// The unit that is stopped and started in the place of this one.
std::string MasterOf(const std::string& unit)
{
    try {
        const std::string master = XTarvixKeyGet(unit, "Master");
        return master.empty() ? unit : master;
    } catch (const std::exception& exception) {
        MERO_LOG(LOG_ERR, "Failed to get master unit: [%s], reason: [%s]", unit.c_str(), exception.what());
        return unit;
    }
}

/// The package whose service the unit is.
std::optional<std::string> PackageOf(const std::string& unit)
{
    if (UnitTypeGet(unit) != "service" || !unit.starts_with(kPackagePrefix)) {
        return std::nullopt;
    }
    return UnitNameWithoutFileExtensionGet(unit).substr(kPackagePrefix.size());
}

/// Why a unit that depends on some volumes would stop for these.
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

/// Why a unit would stop by its own declaration.
std::optional<StopCause> FindDeclaration(const std::string& unit, const Texts& volumes)
{
    MERO_SYSTEMD_VOLUME_DEPENDENCY dependency = MERO_SYSTEMD_VOLUME_DEPENDENCY_NONE;
    if (!MEROSystemdVolumeDependencyGet(unit, dependency)) {
        if (MLIBCErrGet() != MLIBC_ERR_NOT_FOUND) { // units without a file are many
            MERO_LOG(LOG_ERR, "Fail to get VolumeDependency in [%s].", unit.c_str());
        }
        return std::nullopt;
    }
    switch (dependency) {
    case MERO_SYSTEMD_VOLUME_DEPENDENCY_ALL:
        return StopCause{.kind = StopCause::Kind::DependsOnAll, .unit = unit, .package = {}, .users = {}};
    case MERO_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL:
        return FindRegistration(unit, volumes);
    default:
        return std::nullopt;
    }
}

bool IsRunning(const std::string& unit)
{
    const int status = MEROSystemdActiveStatusGet(unit);
    std::string state;
    if (status < 0 && MLIBCErrGet() == kErrorUnknownState && ConfiguredSystemctlDialect().isOfToday &&
        MEROSystemdShow(unit, "ActiveState", state) && state == "maintenance") {
        MERO_LOG(LOG_WARNING, "[%s] is in maintenance: it counts as not running.", unit.c_str());
    }
    return status == MERO_SYSTEMD_ACTIVE_STATUS_ACTIVE || status == MERO_SYSTEMD_ACTIVE_STATUS_ACTIVATING ||
           status == MERO_SYSTEMD_ACTIVE_STATUS_RELOADING;
}

bool AddDeclared(const Texts& volumes, VolumeStops& stops)
{
    Texts units;
    if (!MEROSystemdListUnits(units, "")) {
        MERO_LOG(LOG_ERR, "Fail to list units." MERO_CORE_ERROR_FORMAT, MERO_CORE_ERROR_VALUES);
        MERO_LOG(LOG_ERR, "Fail to list volume dependency units.");
        return false;
    }
    for (const std::string& unit : units) {
        const auto cause = FindDeclaration(unit, volumes);
        if (cause && IsRunning(unit)) {
            stops[MasterOf(unit)].push_back(*cause);
        }
    }
    return true;
}

using Users = std::map<std::string, std::vector<VolumeUser>>; ///< by service

void FindUsers(const std::string& volume, Users& users)
{
    const bool listed = ForEachMountUser(volume, [&](ProcessFiles& files, const MountUser& user) {
        users[user.service].push_back(
            {.pid = user.process.pid, .command = files.Command(user.process), .use = user.use, .file = user.file});
    });
    if (!listed) {
        MERO_LOG(LOG_ERR, "Fail to list services by mnt path [%s].", volume.c_str());
    }
}

void AddUsers(const Texts& volumes, VolumeStops& stops)
{
    Users users;
    for (const std::string& volume : volumes) {
        FindUsers(volume, users);
    }
    for (auto& [service, processes] : users) {
        stops[MasterOf(service)].push_back(
            {.kind = StopCause::Kind::UsesFiles, .unit = service, .package = {}, .users = std::move(processes)});
    }
}

} // namespace

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

bool FindVolumeStops(const Texts& volumes, VolumeStops& stops)
{
    if (!AddDeclared(volumes, stops)) {
        return false;
    }
    AddUsers(volumes, stops);
    return true;
}

} // namespace MERO::Systemd
