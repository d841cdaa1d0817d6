#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "core/directory_walk.h"

#include "core/log.h"

#include <merocore/error.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace MERO::Systemd {
namespace {

constexpr mode_t kMode = 0755; // less the umask: a stricter host stays so, and none makes folders that others can write
constexpr int kMaxLinks = 40;  // as the kernel

Descriptor OpenFolder(int parent, const char* name)
{
    return Descriptor(openat(parent, name, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

Descriptor OpenOrMake(int parent, const char* name, IfMissing ifMissing)
{
    Descriptor folder = OpenFolder(parent, name);
    const bool makes = !folder && errno == ENOENT && ifMissing == IfMissing::Make;
    return makes && (mkdirat(parent, name, kMode) == 0 || errno == EEXIST) ? OpenFolder(parent, name)
                                                                           : std::move(folder);
}

/// What cannot be asked counts as such a folder.
bool CanOthersWrite(int folder)
{
    struct stat status;
    return fstat(folder, &status) != 0 || (status.st_uid != 0 && status.st_uid != geteuid()) ||
           (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

/// Where a link leads; empty, with errno, for what is none.
std::string LinkTarget(int folder, const char* name)
{
    char target[PATH_MAX];
    const ssize_t size = readlinkat(folder, name, target, sizeof target);
    return std::string(target, size > 0 ? static_cast<std::size_t>(size) : 0);
}

/// Takes the first name off a path.
std::string TakeName(std::string& path)
{
    path.erase(0, path.find_first_not_of('/'));
    const std::string name = path.substr(0, path.find('/'));
    path.erase(0, name.size());
    return name;
}

} // namespace

DirectoryWalk WalkToDirectory(const std::string& path, IfMissing ifMissing)
{
    DirectoryWalk walk;
    walk.directory = OpenFolder(AT_FDCWD, path.starts_with('/') ? "/" : ".");
    std::string rest = path;
    int links = 0;
    for (std::string name; walk.directory && !(name = TakeName(rest)).empty();) {
        const Descriptor parent = std::move(walk.directory);
        walk.isShared = walk.isShared || CanOthersWrite(parent.Get());
        walk.directory = OpenOrMake(parent.Get(), name.c_str(), ifMissing);
        if (walk.directory || errno != ENOTDIR) {
            continue;
        }
        const std::string target = LinkTarget(parent.Get(), name.c_str());
        if (target.empty()) {
            errno = ENOTDIR;
        } else if (walk.isShared) {
            LogRefusedWay(path, name);
            walk.isRefused = true;
        } else if (++links > kMaxLinks) {
            errno = ELOOP;
        } else {
            rest.insert(0, target + "/");
            walk.directory = OpenFolder(parent.Get(), target.starts_with('/') ? "/" : ".");
        }
    }
    walk.error = walk.directory ? 0 : errno;
    return walk;
}

bool IsSameFile(int first, int second)
{
    struct stat one;
    struct stat other;
    return fstat(first, &one) == 0 && fstat(second, &other) == 0 && one.st_dev == other.st_dev &&
           one.st_ino == other.st_ino;
}

void LogRefusedWay(const std::string& path, const std::string& name)
{
    const SourceLine here = MERO_HERE;
    MERO_LOG_AT(here, LOG_ERR, "Refused [%s]: in a folder that others can write, [%s] is a link or was replaced",
                path.c_str(), name.c_str());
    MLIBCErrSetEx(MLIBC_ERR_INVALID_ARGUMENT, here.file, here.line);
}

} // namespace MERO::Systemd
