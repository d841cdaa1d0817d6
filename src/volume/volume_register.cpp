#define MERO_SOURCE_NAME "systemd_volume_register"
#include "volume/volume_register.h"

#include "core/directory_walk.h"
#include "core/errors.h"
#include "core/json_file.h"
#include "core/lock.h"
#include "core/log.h"

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
        MERO_LOG(LOG_INFO, "lock [%s] is not available.", lock.PathGet().c_str()); // not an error: another writer
    }
    return acquired;
}

/// A register's file. All access is relative to its open folder, so that nobody can redirect a writer by renaming
/// folders on the path.
class RegisterFile {
public:
    RegisterFile(DirectoryWalk walk, const std::string& path)
        : folder_(std::move(walk.directory)), isUnknown_(walk.isRefused || IsPassingFailure(walk.error)), path_(path),
          name_(path.substr(path.rfind('/') + 1))
    {
    }

    bool Read(Json::Value& array) const
    {
        array = Json::Value(Json::arrayValue);
        if (!isUnknown_ && (!folder_ || faccessat(folder_.Get(), name_.c_str(), F_OK, 0) != 0)) {
            return true;
        }
        if (isUnknown_ || !ReadJsonFile(folder_, name_, array)) {
            MERO_LOG(LOG_ERR, "Fail to read volume register file [%s]", path_.c_str());
            return false;
        }
        if (!array.isArray()) {
            MERO_LOG(LOG_ERR, "Volume register file [%s] is not an json array", path_.c_str());
            return false;
        }
        return true;
    }

    bool Write(const Json::Value& array) const
    {
        const std::string suffix = kTemporaryInfix + std::to_string(getpid());
        const TemporaryName temporary{folder_, name_ + suffix};
        temporary.Remove(); // left by a killed writer with the same process ID
        if (!WriteJsonFile(folder_, temporary.name, name_, array)) {
            MERO_LOG(LOG_ERR, "Fail to dump json file to [%s]", (path_ + suffix).c_str());
            return false;
        }
        if (renameat(folder_.Get(), temporary.name.c_str(), folder_.Get(), name_.c_str()) != 0) {
            MERO_LOG(LOG_ERR, "Fail to rename [%s] to [%s] (%m)", (path_ + suffix).c_str(), path_.c_str());
            return false;
        }
        Sync();
        return true;
    }

private:
    /// Removes a file in its destructor, if it exists.
    struct TemporaryName {
        ~TemporaryName() { Remove(); }
        void Remove() const { unlinkat(folder.Get(), name.c_str(), 0); }

        const Descriptor& folder;
        std::string name;
    };

    /// Only logs a failure: the register has already been replaced.
    void Sync() const
    {
        const Descriptor folder(openat(folder_.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!folder || fsync(folder.Get()) != 0) {
            MERO_LOG(LOG_ERR, "Fail to sync [%s] (%m)", path_.substr(0, path_.size() - name_.size()).c_str());
        }
    }

    Descriptor folder_;
    bool isUnknown_; ///< we cannot see whether the register exists
    std::string path_;
    std::string name_;
};

RegisterFile OpenRegister(const std::string& path)
{
    return RegisterFile(WalkToDirectory(path.substr(0, path.rfind('/')), IfMissing::Fail), path);
}

} // namespace

bool AddVolume(const std::string& directory, const std::string& fileName, const std::string& volume)
{
    return WithoutExceptions(MERO_HERE, [&] {
        FileLock lock(kLock, true, 0);
        if (!Acquire(lock)) {
            return false;
        }
        Descriptor folder = MakeDirectory(directory);
        if (!folder) {
            MERO_LOG(LOG_ERR, "Fail to mkdir [%s] " MERO_CORE_ERROR_FORMAT, directory.c_str(), MERO_CORE_ERROR_VALUES);
            return false;
        }
        const RegisterFile file({.directory = std::move(folder)}, directory + fileName);
        Json::Value array;
        if (!file.Read(array)) {
            return false;
        }
        const Json::Value element(volume);
        if (std::find(array.begin(), array.end(), element) != array.end()) {
            return true;
        }
        array.append(element);
        return file.Write(array);
    });
}

bool RemoveVolume(const std::string& directory, const std::string& fileName, const std::string& volume)
{
    return WithoutExceptions(MERO_HERE, [&] {
        FileLock lock(kLock, true, 0);
        if (!Acquire(lock)) {
            return false;
        }
        const RegisterFile file = OpenRegister(directory + fileName);
        Json::Value array;
        if (!file.Read(array)) {
            return false;
        }
        const Json::Value element(volume);
        Json::Value kept(Json::arrayValue);
        for (const Json::Value& other : array) {
            if (other != element) {
                kept.append(other);
            }
        }
        return file.Write(kept);
    });
}

bool ReadVolumes(const std::string& path, std::vector<std::string>& volumes)
{
    return WithoutExceptions(MERO_HERE, [&] {
        Json::Value array;
        if (!OpenRegister(path).Read(array)) {
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
