#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "resource/cgroup_move.h"

#include "core/directory_entries.h"
#include "core/errors.h"
#include "core/names.h"

#include <merocore/file.h>

#include <fcntl.h>
#include <sys/single_threaded.h>
#include <unistd.h>

#include <cerrno>
#include <set>

namespace MERO::Systemd {
namespace {

constexpr int kMaxPasses = 16; // a thread that comes later than that was made by one that had been moved

/// The kernel takes one task with each write.
bool WriteTask(int file, const std::string& task)
{
    return write(file, task.data(), task.size()) == static_cast<ssize_t>(task.size());
}

/// Moves the threads that the process has besides its first one. Those that are not moved yet may make others
/// meanwhile: all are looked at again until none is new.
bool WriteOtherThreads(SourceLine where, int file, const char* shown)
{
    std::set<std::string> moved{std::to_string(getpid())};
    for (int pass = 0; pass < kMaxPasses; ++pass) {
        std::vector<std::string> threads;
        if (DirectoryEntries("/proc/self/task", threads) != 0 || threads.empty()) {
            if (!__libc_single_threaded) {
                MERO_LOG_AT(where, LOG_ERR, "Failed to list the threads of pid[%d]", getpid());
            }
            return __libc_single_threaded;
        }
        const std::size_t before = moved.size();
        for (const std::string& thread : threads) {
            if (moved.insert(thread).second && !WriteTask(file, thread) && errno != ESRCH) { // that: it has ended
                MERO_LOG_AT(where, LOG_ERR, "Failed to write pid[%d] to %s", std::stoi(thread), shown);
                return false;
            }
        }
        if (moved.size() == before) {
            break;
        }
    }
    return true;
}

} // namespace

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
    return MoveToCgroup(MERO_HERE, tasksFile.c_str(), tasksFile.c_str());
}

bool MoveToCgroup(SourceLine where, const char* tasksFile, const char* shown)
{
    const int file = open(tasksFile, O_WRONLY | O_CLOEXEC);
    if (file < 0) {
        MERO_LOG_AT(where, LOG_ERR, "Failed to open %s", shown);
        return false;
    }
    bool written = WriteTask(file, std::to_string(getpid()));
    if (!written) {
        MERO_LOG_AT(where, LOG_ERR, "Failed to write pid[%d] to %s", getpid(), shown);
    }
    written = written && WithoutExceptions(where, [&] { return WriteOtherThreads(where, file, shown); }) != 0;
    const bool closed = close(file) == 0;
    if (!closed) {
        MERO_LOG_AT(where, LOG_ERR, "fclose failed");
    }
    return written && closed;
}

} // namespace MERO::Systemd
