#include "core/status_monitor.h"

#include "core/common.h"
#include "core/executor.h"
#include "core/log.h"

#include <merocore/process.h>

namespace MERO::Systemd {
namespace {

// Not in the folder of the other locks: the script expects it here.
constexpr const char* kLock = "/run/merosystemd/status_monitor.exit.lock";
constexpr const char* kScript = "/usr/mero/lib/systemd/scripts/mero-systemd-status-monitor.sh";
constexpr int kTimeout = 10; // seconds

void RunScript(int lockFd)
{
    KeepDescriptors({lockFd}); // the child shares this lock; all others stay with the parent
    Executor executor;
    const auto [completed, exitCode] = executor.Execute(kScript, {});
    if (!completed || exitCode != 0) {
        MERO_LOG_OUTPUT(LOG_ERR, executor.GetOutput(),
                        "Run mero-systemd-status-monitor.sh failed, code: [%d], output: [%s]",
                        completed ? exitCode : -1);
    }
}

} // namespace

bool StatusMonitor::Start()
{
    try {
        lock_ = std::make_unique<FileLock>(kLock, false, kTimeout);
    } catch (const std::exception& exception) {
        MERO_LOG(LOG_ERR, "Failed to alloc lock: [%s]", exception.what());
        return false;
    }
    if (!lock_->Acquire()) {
        lock_->LogLockFailed("status monitor");
        return false;
    }
    if (!ForkAndRun([fd = lock_->FdGet()] { RunScript(fd); }, MLIBC_FORK_NEW_SESSION)) {
        MERO_LOG(LOG_ERR, "Failed to fork and run monitor");
        return false;
    }
    return true;
}

} // namespace MERO::Systemd
