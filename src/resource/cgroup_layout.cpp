#include "resource/cgroup_layout.h"

#include "core/systemctl_dialect.h"

#include <linux/magic.h>
#include <sys/vfs.h>

#include <exception>

namespace MERO::Systemd {
namespace {

bool IsOnFileSystem(const char* path, unsigned long type)
{
    struct statfs found {};
    return statfs(path, &found) == 0 && static_cast<unsigned long>(found.f_type) == type;
}

/// True if the dialect cannot be read, which is logged: then the file system alone decides.
bool IsDialectCurrent()
{
    try {
        return ConfiguredSystemctlDialect().isCurrent;
    } catch (const std::exception&) {
        return true;
    }
}

} // namespace

bool IsUnified()
{
    return IsOnFileSystem("/sys/fs/cgroup", CGROUP2_SUPER_MAGIC) && IsDialectCurrent();
}

bool TracksSystemdSlices()
{
    return !IsOnFileSystem("/sys/fs/cgroup/meromonitor", CGROUP_SUPER_MAGIC) && IsUnified();
}

std::string SystemdHierarchy()
{
    return IsUnified() ? "/sys/fs/cgroup/" : "/sys/fs/cgroup/systemd/";
}

} // namespace MERO::Systemd
