#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "resource/cgroup_move.h"

#include "core/directory_entries.h"
#include "core/errors.h"
#include "core/names.h"
#include "core/program_stream.h"
#include "core/text.h"
#include "platform/core/system_calls.h"
#include "resource/cgroup_layout.h"
#include "resource/slice_cgroup.h"

#include <merocore/file.h>
#include <merosystemd/systemd.hpp>

#include <fcntl.h>
#include <sys/single_threaded.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <set>
#include <string>
#include <vector>

namespace MERO::Systemd {
namespace {

constexpr useconds_t kScopeWait = 10'000; // microseconds
constexpr int kMaxScopeWaits = 1000;

constexpr int kMaxPasses = 16; // a thread that appears later was created by a moved one

/// The kernel accepts one task per write.
bool WriteTask(int file, const std::string& task)
{
    const ssize_t count = Uninterrupted([&] { return write(file, task.data(), task.size()); });
    return count == static_cast<ssize_t>(task.size());
}

/// Moves all threads except the first one. Threads that have not moved yet may create others meanwhile, so this repeats
/// until no thread is new.
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
            if (moved.insert(thread).second && !WriteTask(file, thread) && errno != ESRCH) { // ESRCH: it has ended
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

bool IsInScope(const std::string& scope)
{
    std::string unit;
    return MEROSystemdGetByPid(getpid(), unit) && unit == scope;
}

} // namespace

bool MoveToCgroupSlice(const std::string& strSlice, const std::string& hierarchy)
{
    if (!MERO_VALID(!strSlice.empty() && IsSliceName(strSlice))) {
        return false;
    }
    if (hierarchy == "systemd" && IsUnified()) {
        return MoveToScope(MERO_HERE, strSlice);
    }
    if (hierarchy == "meromonitor" && TracksSystemdSlices()) {
        MERO_LOG(LOG_ERR, "The resource monitor's hierarchy is not mounted: [%s] cannot be moved to.",
                 strSlice.c_str());
        return false;
    }
    const std::string tasksFile = "/sys/fs/cgroup/" + hierarchy + "/" + strSlice + "/tasks";
    if (MLIBCFileExist(tasksFile.c_str()) == 0) {
        MERO_LOG(LOG_ERR, "%s not found", tasksFile.c_str());
        return false;
    }
    return MoveToCgroup(MERO_HERE, tasksFile.c_str(), tasksFile.c_str());
}

bool MoveToScope(SourceLine where, const std::string& slice)
{
    if (MLIBCFileCheckDir(SliceCgroup(slice).c_str()) != 0) {
        MERO_LOG_AT(where, LOG_ERR, "%s not found", SliceCgroup(slice).c_str());
        return false;
    }
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const std::string pid = std::to_string(getpid());
    const std::string scope =
        "mero-" + pid + "-" + std::to_string(now.tv_sec) + "-" + std::to_string(now.tv_nsec) + ".scope";
    // See StartTransientUnit() in org.freedesktop.systemd1(5): name, mode, three properties, no auxiliary units.
    const char* const call[] = {"/usr/bin/busctl",
                                getuid() == 0 ? "--system" : "--user",
                                "--quiet",
                                "call",
                                "org.freedesktop.systemd1",
                                "/org/freedesktop/systemd1",
                                "org.freedesktop.systemd1.Manager",
                                "StartTransientUnit",
                                "ssa(sv)a(sa(sv))",
                                scope.c_str(),
                                "fail",
                                "3",
                                "PIDs",
                                "au",
                                "1",
                                pid.c_str(),
                                "Slice",
                                "s",
                                slice.c_str(),
                                "CollectMode",
                                "s",
                                "inactive-or-failed",
                                "0",
                                nullptr};
    ProgramStream busctl(call[0], "rB", const_cast<char* const*>(call));
    std::vector<std::string> lines;
    if (!busctl || !busctl.ReadLines(lines) || busctl.Close() != 0) {
        MERO_LOG_OUTPUT_AT(where, LOG_ERR, Concatenate(lines), "Failed to make a scope in [%s] for pid[%s]: %s",
                           slice.c_str(), pid.c_str());
        return false;
    }
    for (int waits = 0; waits < kMaxScopeWaits; ++waits) { // the call only queues the scope's start
        if (IsInScope(scope)) {
            return true;
        }
        usleep(kScopeWait);
    }
    MERO_LOG_AT(where, LOG_ERR, "[%s] has not got pid[%s] in time", scope.c_str(), pid.c_str());
    return false;
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
