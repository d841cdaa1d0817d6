#include "sandbox/bare_root.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>

#include "sandbox/check.h"
#include "sandbox/mounting.h"

namespace MERO::Sandbox {

namespace {

struct Furniture {
    const char* path;
    const char* fileSystem;
    const char* folder;
};

constexpr Furniture kFurniture[] = {{"/proc/self/fd", "proc", "/proc"}, {"/dev/null", "devtmpfs", "/dev"}};

/// A regular file does not count: writing to a missing `/dev/null` creates one.
bool Has(const char* path)
{
    const Descriptor opened(open(path, O_RDONLY | O_CLOEXEC));
    struct stat found {};
    return opened && fstat(opened.Get(), &found) == 0 && !S_ISREG(found.st_mode);
}

} // namespace

void FurnishBareRoot()
{
    bool isPrivate = false;
    for (const auto& [path, fileSystem, folder] : kFurniture) {
        if (Has(path))
            continue;
        try {
            if (!isPrivate) {
                Check(unshare(CLONE_NEWNS), "cannot make a mount namespace");
                KeepMountsPrivate();
                isPrivate = true;
            }
            Attach(MakeMount(fileSystem), folder);
        } catch (const std::system_error& error) {
            throw std::system_error(error.code(), std::string(path) + " is missing, and " + fileSystem +
                                                      " cannot be mounted on " + folder);
        }
    }
}

} // namespace MERO::Sandbox
