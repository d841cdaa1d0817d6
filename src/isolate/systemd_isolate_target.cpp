#include "core/errors.h"
#include "core/lock.h"
#include "core/status_monitor.h"
#include "core/text.h"
#include "isolate/isolate_monitor.h"
#include "isolate/isolate_state.h"
#include "isolate/stop_job_wait.h"
#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

constexpr int kVolumeUnmountTimeout = 600; // seconds

bool RunIsolateCommand(const std::string& target, const std::vector<std::string>& options,
                       const SystemctlObserver& observer)
{
    try {
        return MEROSystemdSystemctl(
            "isolate", options, {target}, [&](int exitCode, const std::vector<std::string>& lines) {
                if (exitCode != 0) {
                    MERO_LOG_OUTPUT(LOG_ERR, Join(lines), "isolate to [%s] failed: ret=[%d], reason=[%s]",
                                    target.c_str(), exitCode);
                } else {
                    const std::string with = options.empty() ? "" : " with option [" + Join(options) + "]";
                    MERO_LOG(LOG_INFO, "isolated to [%s]%s.", target.c_str(), with.c_str());
                }
                ShowRun(observer, exitCode, lines);
                return exitCode == 0;
            });
    } catch (const std::exception&) {
        MERO_LOG(LOG_ERR, "isolate to [%s] failed.", target.c_str());
        return false;
    }
}

bool Isolate(const std::string& strTarget, const IsolateOptions& options, MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result,
             const SystemctlObserver& observer)
{
    const std::vector<std::string> commandOptions(options.noBlock ? 1 : 0, "--no-block");
    FileLock lock(kIsolateAndVolumeUnmountLock, true, kVolumeUnmountTimeout);
    if (!lock.Acquire()) {
        lock.LogLockFailed(strTarget);
        return false;
    }
    // From here on, destructors undo every step in reverse order.
    const IsolateStateFile stateFile(strTarget);
    StatusMonitor monitor;
    if (!monitor.Start()) {
        MERO_LOG(LOG_ERR, "Failed to monitor systemd status in isolation");
    }
    NotFinishFlag flag;
    if (!flag.Raise()) {
        return false;
    }
    if (!StartIsolateMonitor(lock)) {
        MERO_LOG(LOG_ERR, "Failed to fork for isolate monitor");
        flag.TakeDown();
        return false;
    }
    // Checked this late on purpose: programs rely on seeing every isolation begin and end, even one without a target.
    if (!MERO_VALID(!strTarget.empty())) {
        flag.TakeDown();
        return false;
    }
    MERO_LOG(LOG_INFO, "isolating to [%s].", strTarget.c_str());

    Jobs before;
    const bool knowsBefore = ListJobs(before);
    if (!knowsBefore && result != nullptr) {
        *result = MERO_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED;
    }
    const bool isolated = RunIsolateCommand(strTarget, commandOptions, observer);
    lock.Release();
    flag.TakeDown();
    if (isolated && knowsBefore) {
        WaitForStopJobs(before, result);
    }
    return isolated;
}

} // namespace

bool MEROSystemdIntIsolateTarget(const std::string& strTarget, const IsolateOptions& options,
                                 MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result)
{
    return Isolate(strTarget, options, result, {});
}

bool MEROSystemdIntIsolateTarget(const std::string& strTarget, MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result)
{
    return MEROSystemdIntIsolateTarget(strTarget, IsolateOptions(), result);
}

bool MEROSystemdIsolateTargetObserved(const std::string& strTarget, const IsolateOptions& options,
                                      MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result, const SystemctlObserver& observer)
{
    SystemOperationLock lock;
    if (!lock.Acquire()) {
        lock.LogLockFailed(strTarget);
        return false;
    }
    return Isolate(strTarget, options, result, observer);
}

bool MEROSystemdIsolateTarget(const std::string& strTarget, const IsolateOptions& options,
                              MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result)
{
    return MEROSystemdIsolateTargetObserved(strTarget, options, result, {});
}

bool MEROSystemdIsolateTarget(const std::string& strTarget, MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* result)
{
    return MEROSystemdIsolateTarget(strTarget, IsolateOptions(), result);
}
