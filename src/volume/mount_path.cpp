#include "volume/mount_path.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <utility>

namespace MERO::Systemd {
namespace {

constexpr std::string_view kNoMatch = ""; // not null, which means a path that has not been judged yet

/// Returns the device of a device node; 0 for any other file.
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

std::string_view MountPath::Match(std::string_view path)
{
    if (!path.starts_with('/')) {
        return {};
    }
    TextTable::Entry& known = verdicts_[path];
    if (known.value.data() == nullptr) {
        known.value = Judge(known.text);
    }
    return known.value;
}

std::string_view MountPath::MatchDeleted(std::string_view path)
{
    return IsAtOrBelow(path, path_) ? verdicts_.Keep({path}) : kNoMatch;
}

/// Returns the resolved path if it is a match. Most files are in a known folder and cost one system call.
std::string_view MountPath::Judge(std::string_view path)
{
    const std::size_t slash = path.rfind('/');
    const std::string_view name = path.substr(slash + 1);
    char link[1];
    if (slash == 0 || name.empty() || name == "." || name == ".." || device_ != 0 ||
        readlink(path.data(), link, sizeof link) >= 0) {
        return JudgeResolved(Resolve(path.data()));
    }
    if (errno != EINVAL) { // EINVAL: it exists and is no symbolic link
        return kNoMatch;
    }
    const std::string_view folder = ResolveFolder(path.substr(0, slash));
    if (folder == "/") {
        return JudgeResolved(path.substr(slash));
    }
    const std::size_t size = folder.size() + 1 + name.size();
    const bool canMatch = IsAtOrBelow(folder, path_) || (!folder.empty() && size == path_.size());
    return canMatch && size < PATH_MAX ? JudgeResolved(verdicts_.Keep({folder, "/", name})) : kNoMatch;
}

std::string_view MountPath::JudgeResolved(std::string_view path)
{
    struct stat status;
    const bool isOnDevice = device_ != 0 && stat(path.data(), &status) == 0 && status.st_dev == device_;
    return isOnDevice || IsAtOrBelow(path, path_) ? path : kNoMatch;
}

std::string_view MountPath::ResolveFolder(std::string_view folder)
{
    TextTable::Entry& known = folders_[folder];
    if (known.value.data() == nullptr) {
        known.value = Resolve(known.text.data());
    }
    return known.value;
}

/// Returns the path without symbolic links; empty if there is no such file.
std::string_view MountPath::Resolve(const char* path)
{
    char resolved[PATH_MAX];
    return realpath(path, resolved) != nullptr ? verdicts_.Keep({resolved}) : kNoMatch;
}

} // namespace MERO::Systemd
