#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "resource/cgroup_move.h"

#include "core/argument_check.h"
#include "resource/slice_name.h"

#include <merocore/file.h>

#include <fcntl.h>
#include <unistd.h>

namespace MERO::Systemd {

bool MoveToCgroupSlice(const std::string& strSlice, const std::string& hierarchy)
{
    if (!MERO_VALID(!strSlice.empty() && IsSliceName(strSlice))) {
        return false;
    }
    const std::string tasksFile = "/sys/fs/cgroup/" + hierarchy + "/" + strSlice + "/tasks";
    if (MLIBCFileExist(tasksFile.c_str()) == 0) {
        MERO_LOG(LOG_ERR, "%s not found", tasksFile.c_str());
        return false;
    }
    return WriteOwnPid(MERO_HERE, tasksFile.c_str(), tasksFile.c_str());
}

bool WriteOwnPid(SourceLine where, const char* tasksFile, const char* shown)
{
    const int file = open(tasksFile, O_WRONLY | O_CLOEXEC);
    if (file < 0) {
        MERO_LOG_AT(where, LOG_ERR, "Failed to open %s", shown);
        return false;
    }
    const std::string pid = std::to_string(getpid());
    const bool written = write(file, pid.data(), pid.size()) == static_cast<ssize_t>(pid.size());
    if (!written) {
        MERO_LOG_AT(where, LOG_ERR, "Failed to write pid[%d] to %s", getpid(), shown);
    }
    const bool closed = close(file) == 0;
    if (!closed) {
        MERO_LOG_AT(where, LOG_ERR, "fclose failed");
    }
    return written && closed;
}

} // namespace MERO::Systemd
