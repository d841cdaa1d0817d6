#define MERO_SOURCE_NAME "systemd_isolate_target"
#include "isolate/isolate_monitor.h"

#include "core/common.h"
#include "core/executor.h"
#include "core/log.h"
#include "isolate/isolate_state.h"

#include <merocore/file.h>
#include <merocore/process.h>

#include <unistd.h>

namespace MERO::Systemd {
namespace {

constexpr int kMaxSleeps = 240;
constexpr useconds_t kSleep = 500'000; // microseconds

bool RunsIsolateCommand(pid_t parent)
{
    Executor ps;
    const auto result = ps.Execute("/bin/ps", {"--no-headers", "-o", "args", "--ppid", std::to_string(parent)});
    return result == std::pair(true, 0) && ps.GetOutput().find("/usr/bin/systemctl isolate") != std::string::npos;
}

void RunMonitor(FileLock& lock, pid_t parent)
{
    KeepDescriptors({lock.FdGet()});
    // A killed parent leaves its flag set; the lock must not be held because of that.
    for (int sleeps = 0;
         !RunsIsolateCommand(parent) && MLIBCFileExist(kIsolateNotFinishFlag) == 1 && MLIBCProcAlive(parent) == 1;) {
        usleep(kSleep);
        if (++sleeps == kMaxSleeps) {
            MERO_LOG(LOG_ERR, "Isolate doesn't execute successfully");
            break;
        }
    }
    lock.Release();
}

} // namespace

bool StartIsolateMonitor(FileLock& lock)
{
    // By reference: a copy of the FileLock in this process would close our descriptor. The child has its own memory.
    return ForkAndRun([&lock, parent = getpid()] { RunMonitor(lock, parent); }, 0);
}

} // namespace MERO::Systemd
