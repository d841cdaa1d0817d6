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
    return known != verdicts_.end() ? known->second
                                    : verdicts_.try_emplace(std::string(path), Judge(path)).first->second;
}

/// The path's resolution, if it is a match.
std::string MountPath::Judge(std::string_view path)
{
    std::string resolved = Resolve(path);
    if (resolved.empty()) {
        return resolved;
    }
    struct stat status;
    const bool isOnDevice = device_ != 0 && stat(resolved.c_str(), &status) == 0 && status.st_dev == device_;
    return isOnDevice || IsAtOrBelow(resolved, path_) ? resolved : std::string();
}

/// As realpath, with one system call for a file whose folder is known; empty when it cannot be resolved.
std::string MountPath::Resolve(std::string_view path)
{
    const std::string text(path);
    const std::size_t slash = path.rfind('/');
    const std::string_view name = path.substr(slash + 1);
    char resolved[PATH_MAX];
    if (slash == 0 || name.empty() || name == "." || name == "..") {
        return realpath(text.c_str(), resolved) != nullptr ? resolved : std::string();
    }
    const std::string& folder = ResolveFolder(path.substr(0, slash));
    if (folder.empty() || folder.size() + 1 + name.size() >= sizeof resolved) {
        return {};
    }
    if (readlink(text.c_str(), resolved, sizeof resolved) >= 0) { // a symbolic link, after all
        return realpath(text.c_str(), resolved) != nullptr ? resolved : std::string();
    }
    return errno == EINVAL ? std::string(folder).append("/").append(name) : std::string();
}

const std::string& MountPath::ResolveFolder(std::string_view folder)
{
    const auto known = folders_.find(folder);
    if (known != folders_.end()) {
        return known->second;
    }
    const auto added = folders_.try_emplace(std::string(folder)).first;
    char resolved[PATH_MAX];
    if (realpath(added->first.c_str(), resolved) != nullptr) {
        added->second = resolved;
    }
    return added->second;
}

} // namespace MERO::Systemd
