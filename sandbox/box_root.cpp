#include "sandbox/box_root.h"

#include <sys/mount.h>
#include <sys/random.h>
#include <unistd.h>

#include "sandbox/check.h"
#include "sandbox/mounting.h"

namespace MERO::Sandbox {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kHostName = "mero-sandbox";
const fs::path kOwnFolder = "/run/mero-sandbox";
const fs::path kRuntimeUnits = "/run/systemd/system";

constexpr std::string_view kTargetUnit = R"([Unit]
Description=Everything that a sandbox needs
Requires=basic.target dbus.service systemd-logind.service systemd-user-sessions.service
After=basic.target dbus.service systemd-logind.service systemd-user-sessions.service
AllowIsolate=yes
)";

/// Their mounts would belong to the host. Nearly everything else that has no place in a sandbox (udev, sysctl, modules)
/// finds `/sys` or `/proc/sys` read-only or a capability missing, and its own conditions skip it.
constexpr const char* kMaskedUnits[] = {"dev-hugepages.mount", "sys-fs-fuse-connections.mount"};

void MountSys(CgroupLayout layout)
{
    AttachNew(MakeMount("sysfs", {}, kDataOnly | MOUNT_ATTR_RDONLY), "/sys");
    if (layout == CgroupLayout::V1)
        Attach(MakeMount("tmpfs", {{"mode", "0755"}}, kDataOnly), "/sys/fs/cgroup");
    for (const Hierarchy& hierarchy : HierarchiesOf(layout)) {
        AttachNew(MakeHierarchy(hierarchy), hierarchy.mountPoint);
        fs::create_directory(hierarchy.commands);
    }
}

/// Protects the kernel's settings, which the host and all sandboxes share, from accidental writes.
void ShieldProc()
{
    for (const char* path : {"/proc/sys", "/proc/irq", "/proc/bus"}) {
        if (!fs::exists(path))
            continue;
        const Descriptor tree = CopyMount(path);
        MakeReadOnly(tree);
        Attach(tree, path);
    }
    for (const char* path : {"/proc/sysrq-trigger", "/proc/kmsg", "/proc/kcore"})
        if (fs::exists(path))
            Attach(CopyMount("/dev/null"), path);

    // systemd mounts and uses every controller that it finds here, and would leave cgroups on the host.
    const fs::path noControllers = kOwnFolder / "cgroups";
    WriteFile(noControllers, "#subsys_name\thierarchy\tnum_cgroups\tenabled\n");
    Attach(CopyMount(noControllers), "/proc/cgroups");
}

std::string MakeMachineId()
{
    unsigned char bytes[16];
    Check(getrandom(bytes, sizeof bytes, 0), "cannot make a machine id");
    std::string text;
    for (const unsigned char byte : bytes)
        for (const int digit : {byte >> 4, byte & 15})
            text += "0123456789abcdef"[digit];
    return text + "\n";
}

void WriteEtc()
{
    for (const char* folder : {"/etc/systemd/system", "/etc/systemd/user"}) {
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    WriteFile("/etc/fstab", "");
    WriteFile("/etc/machine-id", MakeMachineId());
    WriteFile("/etc/hostname", std::string(kHostName) + "\n");
    Check(sethostname(kHostName.data(), kHostName.size()), "cannot set the host name");
}

void WriteUnits()
{
    fs::create_directories(kRuntimeUnits);
    WriteFile(kRuntimeUnits / kBootTarget, kTargetUnit);
    for (const char* unit : kMaskedUnits)
        fs::create_symlink("/dev/null", kRuntimeUnits / unit);
    fs::create_directories("/run/systemd/journald.conf.d");
    WriteFile("/run/systemd/journald.conf.d/zz-mero-sandbox.conf", "[Journal]\nStorage=volatile\n");
    // /tmp is empty anyway, and the binds below it must not be cleaned up.
    fs::create_directories("/run/tmpfiles.d");
    WriteFile("/run/tmpfiles.d/tmp.conf", "");
}

} // namespace

void FurnishForSystemd(CgroupLayout layout)
{
    fs::create_directory(kOwnFolder);
    MountSys(layout);
    ShieldProc();
    WriteEtc();
    WriteUnits();
}

} // namespace MERO::Sandbox
