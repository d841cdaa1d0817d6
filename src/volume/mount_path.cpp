#include "volume/mount_path.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <utility>

namespace MERO::Systemd {
namespace {

const std::string kNoMatch;

/// The device that a node stands for; 0 for every other file.
dev_t DeviceOf(const std::string& path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? status.st_rdev : 0;
}

/// The path without symbolic links; empty when there is no such file.
std::string Resolve(const char* path)
{
    char resolved[PATH_MAX];
    return realpath(path, resolved) != nullptr ? resolved : std::string();
}

} // namespace

bool IsAtOrBelow(std::string_view path, std::string_view mountPath)
{
    return path.starts_with(mountPath) && (path.size() == mountPath.size() || path[mountPath.size()] == '/');
}

MountPath::MountPath(std::string path) : path_(std::move(path)), device_(DeviceOf(path_)) {}

const std::string& MountPath::Match(std::string_view path)
{
    if (!path.starts_with('/')) {
        return kNoMatch;
    }
    const auto known = verdicts_.find(path);
    if (known != verdicts_.end()) {
        return known->second;
    }
    const auto added = verdicts_.try_emplace(std::string(path)).first;
    added->second = Judge(added->first);
    return added->second;
}

/// The resolved path, if it is a match. A file whose folder is known, as most are, costs one system call.
std::string MountPath::Judge(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    const std::string_view name = std::string_view(path).substr(slash + 1);
    char link[PATH_MAX];
    if (slash == 0 || name.empty() || name == "." || name == ".." || device_ != 0 ||
        readlink(path.c_str(), link, sizeof link) >= 0) {
        return JudgeResolved(Resolve(path.c_str()));
    }
    if (errno != EINVAL) { // EINVAL: it is there, and is no symbolic link
        return {};
    }
    const std::string& folder = ResolveFolder(std::string_view(path).substr(0, slash));
    if (folder == "/") {
        return JudgeResolved("/" + std::string(name));
    }
    const std::size_t size = folder.size() + 1 + name.size();
    const bool canMatch = IsAtOrBelow(folder, path_) || (!folder.empty() && size == path_.size());
    return canMatch && size < PATH_MAX ? JudgeResolved(folder + "/" + std::string(name)) : std::string();
}

std::string MountPath::JudgeResolved(std::string path) const
{
    struct stat status;
    const bool isOnDevice = device_ != 0 && stat(path.c_str(), &status) == 0 && status.st_dev == device_;
    return isOnDevice || IsAtOrBelow(path, path_) ? path : std::string();
}

const std::string& MountPath::ResolveFolder(std::string_view folder)
{
    const auto known = folders_.find(folder);
    return known != folders_.end()
               ? known->second
               : folders_.try_emplace(std::string(folder), Resolve(std::string(folder).c_str())).first->second;
}

} // namespace MERO::Systemd
