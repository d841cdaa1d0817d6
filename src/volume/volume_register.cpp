#define MERO_SOURCE_NAME "systemd_volume_register"
#include "volume/volume_register.h"

#include "core/core_error.h"
#include "core/descriptor.h"
#include "core/json_file.h"
#include "core/lock.h"
#include "core/log.h"
#include "core/make_directory.h"
#include "core/no_exceptions.h"

#include <merocore/file.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace MERO::Systemd {
namespace {

constexpr const char* kLock = "/run/merosystemd/locks/volume-register.lock";

bool Acquire(FileLock& lock)
{
    const bool acquired = lock.Acquire();
    if (!acquired) {
        MERO_LOG(LOG_INFO, "lock [%s] is not available.", lock.PathGet().c_str()); // another writer: no error
    }
    return acquired;
}

bool ReadRegister(const std::string& path, Json::Value& array)
{
    array = Json::Value(Json::arrayValue);
    if (access(path.c_str(), F_OK) != 0) {
        return true;
    }
    if (!ReadJsonFile(path, array)) {
        MERO_LOG(LOG_ERR, "Fail to read volume register file [%s]", path.c_str());
        return false;
    }
    if (!array.isArray()) {
        MERO_LOG(LOG_ERR, "Volume register file [%s] is not an json array", path.c_str());
        return false;
    }
    return true;
}

/// Removes a file when it goes. One that is not there is fine.
struct TemporaryName {
    ~TemporaryName() { unlink(path.c_str()); }

    std::string path;
};

bool SyncDirectory(const std::string& directory)
{
    const Descriptor opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const bool synced = opened && fsync(opened.Get()) == 0;
    if (!synced) {
        MERO_LOG(LOG_ERR, "Fail to sync [%s] (%m)", directory.c_str());
    }
    return synced;
}

bool WriteRegister(const std::string& directory, const std::string& fileName, const Json::Value& array)
{
    const std::string path = directory + fileName;
    const TemporaryName temporary{path + kTemporaryInfix + std::to_string(getpid())};
    unlink(temporary.path.c_str()); // of a killed writer that had this process' ID
    if (!WriteJsonFile(temporary.path, path, array)) {
        MERO_LOG(LOG_ERR, "Fail to dump json file to [%s]", temporary.path.c_str());
        return false;
    }
    if (std::rename(temporary.path.c_str(), path.c_str()) != 0) {
        MERO_LOG(LOG_ERR, "Fail to rename [%s] to [%s] (%m)", temporary.path.c_str(), path.c_str());
        return false;
    }
    return SyncDirectory(directory);
}

} // namespace

bool AddVolume(const std::string& directory, const std::string& fileName, const std::string& volume)
{
    return WithoutExceptions(MERO_HERE, [&] {
        FileLock lock(kLock, true, 0);
        if (!Acquire(lock)) {
            return false;
        }
        if (MakeDirectory(directory) < 0) {
            MERO_LOG(LOG_ERR, "Fail to mkdir [%s] " MERO_CORE_ERROR_FORMAT, directory.c_str(), MERO_CORE_ERROR_VALUES);
            return false;
        }
        Json::Value array;
        if (!ReadRegister(directory + fileName, array)) {
            return false;
        }
        const Json::Value element(volume);
        if (std::find(array.begin(), array.end(), element) != array.end()) {
            return true;
        }
        array.append(element);
        return WriteRegister(directory, fileName, array);
    });
}

bool RemoveVolume(const std::string& directory, const std::string& fileName, const std::string& volume)
{
    return WithoutExceptions(MERO_HERE, [&] {
        FileLock lock(kLock, true, 0);
        Json::Value array;
        if (!Acquire(lock) || !ReadRegister(directory + fileName, array)) {
            return false;
        }
        const Json::Value element(volume);
        Json::Value kept(Json::arrayValue);
        for (const Json::Value& other : array) {
            if (other != element) {
                kept.append(other);
            }
        }
        return WriteRegister(directory, fileName, kept);
    });
}

bool ReadVolumes(const std::string& path, std::vector<std::string>& volumes)
{
    return WithoutExceptions(MERO_HERE, [&] {
        Json::Value array;
        if (!ReadRegister(path, array)) {
            return false;
        }
        for (const Json::Value& element : array) {
            if (element.isString()) {
                volumes.push_back(element.asString());
            }
        }
        return true;
    });
}

bool IsAnyVolumeRegistered(const std::string& path, const std::vector<std::string>& volumes)
{
    std::vector<std::string> registered;
    return ReadVolumes(path, registered) &&
           std::find_first_of(registered.begin(), registered.end(), volumes.begin(), volumes.end()) != registered.end();
}

std::string PackageRegisterDirectory(const std::string& package)
{
    return kPackagesDirectory + package + "/etc/meropkg_conf/";
}

} // namespace MERO::Systemd
