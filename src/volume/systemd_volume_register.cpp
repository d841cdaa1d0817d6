#include "core/directory_entries.h"
#include "core/errors.h"
#include "core/names.h"
#include "volume/volume_register.h"

#include <merocore/file.h>
#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <cerrno>
#include <filesystem>

using namespace MERO::Systemd;

namespace {

bool IsVolume(const std::string& strVolume)
{
    return MERO_VALID(!strVolume.empty()) && MERO_VALID('/' == strVolume.front()) &&
           MERO_VALID('/' != strVolume.back());
}

bool IsUnitAndVolume(const std::string& strUnit, const std::string& strVolume)
{
    // The unit's name becomes a file name.
    return MERO_VALID(!strUnit.empty()) && IsVolume(strVolume) && MERO_VALID(IsFileName(strUnit));
}

bool IsPackageAndVolume(const std::string& strPackage, const std::string& strVolume)
{
    return MERO_VALID(!strPackage.empty()) && IsVolume(strVolume) && MERO_VALID(IsFileName(strPackage));
}

using Operation = bool(const std::string& owner, const std::string& strVolume);

int RunCForm(Operation* operation, const char* owner, const char* szVolume)
{
    return WithoutExceptions(MERO_HERE, [&] { return MERO_VALID(nullptr != szVolume) && operation(owner, szVolume); });
}

} // namespace

bool MEROSystemdVolumeRegister(const std::string& strUnit, const std::string& strVolume)
{
    return IsUnitAndVolume(strUnit, strVolume) &&
           AddVolume(kUnitRegisterDirectory, NormalizedUnitNameGet(strUnit), strVolume);
}

bool MEROSystemdVolumeUnregister(const std::string& strUnit, const std::string& strVolume)
{
    return IsUnitAndVolume(strUnit, strVolume) &&
           RemoveVolume(kUnitRegisterDirectory, NormalizedUnitNameGet(strUnit), strVolume);
}

bool MEROSystemdPackageVolumeRegister(const std::string& strPackage, const std::string& strVolume)
{
    if (!IsPackageAndVolume(strPackage, strVolume)) {
        return false;
    }
    const std::string directory = kPackagesDirectory + strPackage;
    if (MLIBCFileCheckDir(directory.c_str()) < 0) {
        MERO_LOG(LOG_ERR, "Fail to MLIBCFileCheckDir on [%s] " MERO_CORE_ERROR_FORMAT, directory.c_str(),
                 MERO_CORE_ERROR_VALUES);
        return false;
    }
    return AddVolume(PackageRegisterDirectory(strPackage), kPackageRegister, strVolume);
}

bool MEROSystemdPackageVolumeUnregister(const std::string& strPackage, const std::string& strVolume)
{
    return IsPackageAndVolume(strPackage, strVolume) &&
           RemoveVolume(PackageRegisterDirectory(strPackage), kPackageRegister, strVolume);
}

bool MEROSystemdVolumeIsRegisteredByUnit(const std::string& unit, const std::vector<std::string>& volumes)
{
    return IsFileName(unit) && !volumes.empty() &&
           IsAnyVolumeRegistered(kUnitRegisterDirectory + NormalizedUnitNameGet(unit), volumes);
}

bool MEROSystemdVolumeIsRegisteredByPackage(const std::string& package, const std::vector<std::string>& volumes)
{
    return IsFileName(package) && !volumes.empty() &&
           IsAnyVolumeRegistered(PackageRegisterDirectory(package) + kPackageRegister, volumes);
}

bool MEROSystemdListPackageByRegisteredVolume(const std::string& volume, std::vector<std::string>& packages)
{
    // Not fs::directory_iterator: it ends the process if memory runs out.
    std::vector<std::string> entries;
    int error = DirectoryEntries(kPackagesDirectory, entries);
    if (error == 0 && MLIBCFileExist(kPackagesDirectory) == 0) {
        error = ENOENT;
    }
    if (error != 0) {
        throw std::filesystem::filesystem_error("cannot open directory", kPackagesDirectory,
                                                std::error_code(error, std::generic_category()));
    }
    for (const std::string& package : entries) {
        const std::string path = PackageRegisterDirectory(package) + kPackageRegister;
        std::vector<std::string> registered;
        if (!ReadVolumes(path, registered)) {
            MERO_LOG(LOG_ERR, "Failed to load registered volumes in [%s]", path.c_str());
            return false;
        }
        if (std::find(registered.begin(), registered.end(), volume) != registered.end()) {
            packages.push_back(package);
        }
    }
    return true;
}

int MEROCSystemdVolumeRegister(const char* szUnit, const char* szVolume)
{
    return MERO_VALID(nullptr != szUnit) && RunCForm(MEROSystemdVolumeRegister, szUnit, szVolume);
}

int MEROCSystemdVolumeUnregister(const char* szUnit, const char* szVolume)
{
    return MERO_VALID(nullptr != szUnit) && RunCForm(MEROSystemdVolumeUnregister, szUnit, szVolume);
}

int MEROCSystemdPackageVolumeRegister(const char* szPackage, const char* szVolume)
{
    return MERO_VALID(nullptr != szPackage) && RunCForm(MEROSystemdPackageVolumeRegister, szPackage, szVolume);
}

int MEROCSystemdPackageVolumeUnregister(const char* szPackage, const char* szVolume)
{
    return MERO_VALID(nullptr != szPackage) && RunCForm(MEROSystemdPackageVolumeUnregister, szPackage, szVolume);
}
