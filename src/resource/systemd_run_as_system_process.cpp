#include "resource/cgroup_move.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

using namespace MERO::Systemd;

bool MEROSystemdRunAsSystemProcess()
{
    MERO_LOG(LOG_INFO, "Start moving process pid[%d] out of cgroup", getpid());
    // The messages name the variable instead of the path, as they always have.
    return WriteOwnPid(MERO_HERE, "/sys/fs/cgroup/systemd/tasks", "szfDefaultTaskPath");
}

int MEROCSystemdRunAsSystemProcess(void)
{
    return MEROSystemdRunAsSystemProcess() ? 1 : 0;
}
