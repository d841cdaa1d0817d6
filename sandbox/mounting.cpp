#include "sandbox/mounting.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include "sandbox/check.h"

namespace MERO::Sandbox {

namespace fs = std::filesystem;

Descriptor MakeMount(const std::string& type, const MountOptions& options, unsigned attributes)
{
    std::string what = "cannot make a file system of type " + type;
    for (const auto& [key, value] : options)
        what += " " + key + (value.empty() ? "" : "=" + value);
    const Descriptor context(Check(fsopen(type.c_str(), FSOPEN_CLOEXEC), what));
    Check(fsconfig(context.Get(), FSCONFIG_SET_STRING, "source", type.c_str(), 0), what);
    for (const auto& [key, value] : options)
        Check(fsconfig(context.Get(), value.empty() ? FSCONFIG_SET_FLAG : FSCONFIG_SET_STRING, key.c_str(),
                       value.empty() ? nullptr : value.c_str(), 0),
              what);
    Check(fsconfig(context.Get(), FSCONFIG_CMD_CREATE, nullptr, nullptr, 0), what);
    return Descriptor(Check(fsmount(context.Get(), FSMOUNT_CLOEXEC, attributes), what));
}

Descriptor CopyMount(const fs::path& path)
{
    return Descriptor(Check(open_tree(AT_FDCWD, path.c_str(), OPEN_TREE_CLONE | OPEN_TREE_CLOEXEC | AT_RECURSIVE),
                            "cannot take " + path.string() + " into the sandbox"));
}

void MakeReadOnly(const Descriptor& tree)
{
    mount_attr readOnly{};
    readOnly.attr_set = MOUNT_ATTR_RDONLY;
    Check(mount_setattr(tree.Get(), "", AT_EMPTY_PATH | AT_RECURSIVE, &readOnly, sizeof readOnly),
          "cannot make a mount read-only");
}

void Attach(const Descriptor& tree, const fs::path& path)
{
    Check(move_mount(tree.Get(), "", AT_FDCWD, path.c_str(), MOVE_MOUNT_F_EMPTY_PATH),
          "cannot mount on " + path.string());
}

void AttachNew(const Descriptor& tree, const fs::path& path)
{
    struct stat found {};
    Check(fstat(tree.Get(), &found), "cannot examine what goes to " + path.string());
    fs::create_directories(S_ISDIR(found.st_mode) ? path : path.parent_path());
    if (!fs::exists(path))
        WriteFile(path, "");
    Attach(tree, path);
}

void GoToNamespaceRoot()
{
    const std::string what = "cannot reach the root of the mount namespace";
    const Descriptor self(static_cast<int>(Check(syscall(SYS_pidfd_open, getpid(), 0), what)));
    Check(setns(self.Get(), CLONE_NEWNS), what);
}

void KeepMountsPrivate()
{
    // A chroot's root may not be a mount point, and the mount that contains it cannot be reached from inside.
    const Descriptor root = OpenFolder("/");
    const Descriptor workingDirectory = OpenFolder(".");
    GoToNamespaceRoot();
    Check(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), "cannot keep mounts private");
    Check(fchdir(root.Get()), "cannot enter /");
    Check(chroot("."), "cannot return to /");
    Check(fchdir(workingDirectory.Get()), "cannot return to the working directory");
}

Descriptor OpenFolder(const fs::path& path)
{
    return Descriptor(Check(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC), "cannot open " + path.string()));
}

void WriteFile(const fs::path& path, std::string_view text)
{
    const Descriptor file(
        Check(open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0644), "cannot make " + path.string()));
    Check(WriteAll(file.Get(), text) ? 0 : -1, "cannot write " + path.string());
}

} // namespace MERO::Sandbox
