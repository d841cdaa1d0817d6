#include "usage/hierarchies.h"

#include <linux/magic.h>
#include <sys/vfs.h>

namespace MERO::Tool {

bool IsFileSystem(const char* path, unsigned long type)
{
    struct statfs found {};
    return statfs(path, &found) == 0 && static_cast<unsigned long>(found.f_type) == type;
}

bool HasMonitorHierarchy()
{
    return IsFileSystem(kMonitorHierarchy, CGROUP_SUPER_MAGIC);
}

} // namespace MERO::Tool
