#include "core/errors.h"
#include "resource/cgroup_layout.h"
#include "resource/cgroup_move.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

using namespace MERO::Systemd;

bool MEROSystemdRunAsSystemProcess()
{
    MERO_LOG(LOG_INFO, "Start moving process pid[%d] out of cgroup", getpid());
    if (IsUnified()) {
        return MoveToScope(MERO_HERE, "system.slice");
    }
    // The messages show this name instead of the path: programs match them.
    return MoveToCgroup(MERO_HERE, "/sys/fs/cgroup/systemd/tasks", "szfDefaultTaskPath");
}

int MEROCSystemdRunAsSystemProcess(void)
{
    return WithoutExceptions(MERO_HERE, [&] { return MEROSystemdRunAsSystemProcess() ? 1 : 0; });
}
