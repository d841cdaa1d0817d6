#include "core/directory_entries.h"
#include "core/errors.h"
#include "core/log.h"
#include "volume/volume_register.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

using Registrations = std::vector<VolumeRegistration>;

bool AddRegister(bool isPackage, const std::string& owner, const std::string& path, Registrations& registrations)
{
    VolumeRegistration registration{.isPackage = isPackage, .owner = owner, .volumes = {}};
    if (!ReadVolumes(path, registration.volumes)) {
        return false;
    }
    if (!registration.volumes.empty()) {
        registrations.push_back(std::move(registration));
    }
    return true;
}

/// Whether this is a writer's temporary file, perhaps left by a killed one.
bool IsTemporary(const std::string& name)
{
    const std::size_t infix = name.rfind(kTemporaryInfix);
    return infix != name.npos && name.find_first_not_of("0123456789", infix + kTemporaryInfix.size()) == name.npos;
}

/// Gets the owners of the registers in a folder: the entries are named after them.
bool ListOwners(const char* directory, std::vector<std::string>& owners)
{
    const bool listed = DirectoryEntries(directory, owners) == 0;
    if (!listed) {
        MERO_LOG(LOG_ERR, "Fail to open [%s] " MERO_CORE_ERROR_FORMAT, directory, MERO_CORE_ERROR_VALUES);
    }
    return listed;
}

} // namespace

bool MEROSystemdVolumeRegisterList(Registrations& registrations)
{
    std::vector<std::string> units;
    std::vector<std::string> packages;
    bool done = ListOwners(kUnitRegisterDirectory, units);
    for (const std::string& unit : units) {
        done = (IsTemporary(unit) || AddRegister(false, unit, kUnitRegisterDirectory + unit, registrations)) && done;
    }
    done = ListOwners(kPackagesDirectory, packages) && done;
    for (const std::string& package : packages) {
        const std::string path = PackageRegisterDirectory(package) + kPackageRegister;
        done = AddRegister(true, package, path, registrations) && done;
    }
    return done;
}
