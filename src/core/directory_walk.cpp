#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "core/directory_walk.h"

#include "core/errors.h"
#include "core/text_reader.h"

#include <merocore/process.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace MERO::Systemd {
namespace {

constexpr mode_t kMode = 0755; // less the umask: a stricter one is kept, and a lax one cannot let others write
constexpr int kMaxLinks = 40;  // the kernel's limit

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

/// True if fstat fails: the folder is then not trusted.
bool CanOthersWrite(int folder)
{
    struct stat status;
    return fstat(folder, &status) != 0 || (status.st_uid != 0 && status.st_uid != geteuid()) ||
           (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

/// Returns a link's target; empty if this is no link.
std::string LinkTarget(int folder, const char* name)
{
    char target[PATH_MAX];
    const ssize_t size = readlinkat(folder, name, target, sizeof target);
    return std::string(target, size > 0 ? static_cast<std::size_t>(size) : 0);
}

/// Takes the first component off a path.
std::string TakeName(std::string& path)
{
    path.erase(0, path.find_first_not_of('/'));
    std::string name = path.substr(0, path.find('/'));
    path.erase(0, name.size());
    return name;
}

bool IsSameFile(int first, int second)
{
    struct stat one;
    struct stat other;
    return fstat(first, &one) == 0 && fstat(second, &other) == 0 && one.st_dev == other.st_dev &&
           one.st_ino == other.st_ino;
}

/// Logs that `path` is refused because of its component `name`, and sets the error register.
void LogRefusedPath(const std::string& path, const std::string& name)
{
    const SourceLine here = MERO_HERE;
    MERO_LOG_AT(here, LOG_ERR, "Refused [%s]: in a folder that others can write, [%s] is a link or was replaced",
                path.c_str(), name.c_str());
    SetError(here, MLIBC_ERR_INVALID_ARGUMENT);
}

/// Whether the umask would let others write to what a program makes; true if it cannot be read. It is read from /proc
/// because umask() would have to change it for a moment, for all threads.
bool IsUmaskLax()
{
    TextReader reader;
    const std::string_view status =
        reader.Read(AT_FDCWD, "/proc/thread-self/status").value_or(std::string_view()); // see proc(5)
    constexpr std::string_view kKey = "\nUmask:\t";
    const std::size_t key = status.find(kKey);
    return key == status.npos || (std::strtoul(status.data() + key + kKey.size(), nullptr, 8) & 022) != 022;
}

bool RunMkdir(const char* directory)
{
    errno = 0;
    const int result = IsUmaskLax()
                           ? MLIBCExec("/bin/sh", "-c", "umask go-w && exec /bin/mkdir -p \"$1\"", "mkdir", directory)
                           : MLIBCExec("/bin/mkdir", "-p", directory, nullptr, nullptr);
    // If the host process ignores SIGCHLD, mkdir's exit code is lost: the caller checks whether the folder exists.
    return result >= 0 || (MLIBCErrGet() == MLIBC_ERR_PROGRAM_FAILED && errno == ECHILD);
}

} // namespace

DirectoryWalk WalkToDirectory(const std::string& path, IfMissing ifMissing)
{
    DirectoryWalk walk;
    const auto enter = [&](Descriptor folder) {
        walk.error = folder ? 0 : errno;
        walk.directory = std::move(folder);
    };
    enter(OpenFolder(AT_FDCWD, path.starts_with('/') ? "/" : "."));
    std::string rest = path;
    int links = 0;
    for (std::string name; walk.directory && !(name = TakeName(rest)).empty();) {
        const Descriptor parent = std::move(walk.directory);
        walk.isShared = walk.isShared || CanOthersWrite(parent.Get());
        enter(OpenOrMake(parent.Get(), name.c_str(), ifMissing));
        const std::string target = walk.error == ENOTDIR ? LinkTarget(parent.Get(), name.c_str()) : std::string();
        if (target.empty()) {
            continue;
        }
        if (walk.isShared) {
            LogRefusedPath(path, name);
            walk.isRefused = true;
        } else if (++links > kMaxLinks) {
            walk.error = ELOOP;
        } else {
            rest.insert(0, target + "/");
            enter(OpenFolder(parent.Get(), target.starts_with('/') ? "/" : "."));
        }
    }
    return walk;
}

Descriptor MakeDirectory(const std::string& directory)
{
    DirectoryWalk made = WalkToDirectory(directory, IfMissing::Make);
    // mkdir goes by name: below a folder that others can write, it may run only after the walk has made the folder.
    const bool mayGoByName = made.directory || !(made.isShared || IsPassingFailure(made.error));
    if (!made.isRefused && !mayGoByName) {
        SetError(MERO_HERE, MLIBC_ERR_OPEN_DIRECTORY);
    }
    if (made.isRefused || !mayGoByName || !RunMkdir(directory.c_str())) {
        return {};
    }
    if (made.directory && !made.isShared) {
        return std::move(made.directory);
    }
    DirectoryWalk found = WalkToDirectory(directory, IfMissing::Fail);
    if (found.directory && made.directory && !IsSameFile(found.directory.Get(), made.directory.Get())) {
        LogRefusedPath(directory, directory);
        return {};
    }
    if (!found.directory && !found.isRefused) {
        SetError(MERO_HERE, MLIBC_ERR_OPEN_DIRECTORY);
    }
    return std::move(found.directory);
}

} // namespace MERO::Systemd
