#include "sandbox/private_root.h"

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include "sandbox/check.h"
#include "sandbox/mounting.h"

namespace MERO::Sandbox {

namespace fs = std::filesystem;

namespace {

constexpr const char* kSharedDevices[] = {"null", "zero", "full", "random", "urandom", "tty"};

struct PathTree {
    fs::path path;
    Descriptor tree;
};

/// Makes the modes of new folders independent of the caller.
class DefaultUmask {
public:
    DefaultUmask() : callers(umask(022)) {}
    ~DefaultUmask() { umask(callers); }

private:
    mode_t callers;
};

std::vector<PathTree> CopyBinds(const std::vector<fs::path>& binds)
{
    std::vector<PathTree> copies;
    for (const fs::path& bind : binds) {
        const fs::path path = fs::canonical(bind);
        copies.push_back({path, CopyMount(path)});
        MakeReadOnly(copies.back().tree);
    }
    return copies;
}

std::vector<PathTree> CopyDevices()
{
    std::vector<PathTree> copies;
    for (const char* name : kSharedDevices)
        copies.push_back({fs::path("/dev") / name, CopyMount(fs::path("/dev") / name)});
    return copies;
}

/// Makes an overlay over `shown` the root. Its upper layer is in memory.
void SwitchToOverlay(const fs::path& shown)
{
    // Any folder that every system has will do: the tmpfs on it goes with the old root.
    const fs::path layers = "/tmp";
    const Descriptor lower = shown == "/" ? Descriptor() : CopyMount(shown); // it may be below /tmp
    Attach(MakeMount("tmpfs", {{"mode", "0755"}}), layers);
    for (const char* name : {"upper", "work", "root"})
        fs::create_directory(layers / name);
    if (lower)
        AttachNew(lower, layers / "lower");
    Attach(MakeMount("overlay", {{"lowerdir", lower ? layers / "lower" : "/"},
                                 {"upperdir", layers / "upper"},
                                 {"workdir", layers / "work"}}),
           layers / "root");

    // Switch at the namespace's root: then others who enter the namespace are in the overlay too.
    const Descriptor root = OpenFolder(layers / "root");
    GoToNamespaceRoot();
    Check(fchdir(root.Get()), "cannot enter the new root");
    Check(syscall(SYS_pivot_root, ".", "."), "cannot change the root");
    Check(umount2(".", MNT_DETACH), "cannot leave the old root");
    fs::current_path("/");
}

void FillDev(const std::vector<PathTree>& devices)
{
    AttachNew(MakeMount("tmpfs", {{"mode", "0755"}}, MOUNT_ATTR_NOSUID | MOUNT_ATTR_NOEXEC), "/dev");
    for (const auto& [path, tree] : devices)
        AttachNew(tree, path);
    AttachNew(MakeMount("devpts", {{"mode", "0620"}, {"gid", "5"}, {"ptmxmode", "0666"}},
                        MOUNT_ATTR_NOSUID | MOUNT_ATTR_NOEXEC),
              "/dev/pts");
    AttachNew(MakeMount("tmpfs", {{"mode", "1777"}}, MOUNT_ATTR_NOSUID | MOUNT_ATTR_NODEV), "/dev/shm");
    fs::create_symlink("pts/ptmx", "/dev/ptmx");
    fs::create_symlink("/proc/self/fd", "/dev/fd");
    fs::create_symlink("/proc/self/fd/0", "/dev/stdin");
    fs::create_symlink("/proc/self/fd/1", "/dev/stdout");
    fs::create_symlink("/proc/self/fd/2", "/dev/stderr");
}

} // namespace

void EnterPrivateRoot(const std::vector<fs::path>& binds, const fs::path& root)
{
    const DefaultUmask defaultUmask;
    KeepMountsPrivate();
    const std::vector<PathTree> boundTrees = CopyBinds(binds);
    const std::vector<PathTree> devices = CopyDevices();

    SwitchToOverlay(root);
    AttachNew(MakeMount("proc", {}, kDataOnly), "/proc");
    AttachNew(MakeMount("tmpfs", {{"mode", "0755"}}, MOUNT_ATTR_NOSUID | MOUNT_ATTR_NODEV), "/run");
    AttachNew(MakeMount("tmpfs", {{"mode", "1777"}}, MOUNT_ATTR_NOSUID | MOUNT_ATTR_NODEV), "/tmp");
    FillDev(devices);
    for (const auto& [path, tree] : boundTrees)
        AttachNew(tree, path);
}

} // namespace MERO::Sandbox
