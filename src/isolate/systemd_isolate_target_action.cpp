#include "core/errors.h"
#include "core/interruption.h"
#include "core/lock.h"
#include "recovery/caller_watcher.h"
#include "recovery/left_over_systemctl.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

using namespace MERO::Systemd;

namespace {

constexpr const char* kDefaultTarget = "default.target";

/// Runs in the watcher if the caller has ended: killed, for example, or stopped with its unit by the isolation itself.
void RestoreForCaller(pid_t caller, const std::string& target)
{
    AwaitLeftOverSystemctl("isolate", target);
    MERO_LOG(LOG_WARNING, "pid[%d] ended in [%s]: isolating to [%s].", caller, target.c_str(), kDefaultTarget);
    (void)MEROSystemdIntIsolateTarget(kDefaultTarget, nullptr);
}

} // namespace

bool MEROSystemdIsolateToDefaultTarget()
{
    return MEROSystemdIsolateTarget(kDefaultTarget, nullptr);
}

int MEROCSystemdIsolateToDefaultTarget(void)
{
    return WithoutExceptions(MERO_HERE, [&] { return MEROSystemdIsolateToDefaultTarget() ? 1 : 0; });
}

bool _MEROSystemdIsolateTargetAction(const std::string& strTarget, std::function<bool()>&& action)
{
    if (!MERO_VALID(!strTarget.empty())) {
        return false;
    }
    const CancelBlock block;
    SystemOperationLock lock;
    if (!block.LiftFor([&] { return lock.Acquire(); })) {
        lock.LogLockFailed(strTarget);
        return false;
    }
    CallerWatcher watcher;
    (void)watcher.Start(
        {lock.FdGet()}, [&, caller = getpid()] { RestoreForCaller(caller, strTarget); }, [] {});
    watcher.Arm();
    return RunAndRestore([&] { return MEROSystemdIntIsolateTarget(strTarget, nullptr) && block.LiftFor(action); },
                         [] { return MEROSystemdIntIsolateTarget(kDefaultTarget, nullptr); });
}

int MEROCSystemdIsolateTargetAction(const char* szTarget, bool (*action)(void* data), void* data)
{
    if (!MERO_VALID(nullptr != szTarget) || !MERO_VALID(nullptr != action)) {
        return 0;
    }
    return WithoutExceptions(
        MERO_HERE, [=] { return _MEROSystemdIsolateTargetAction(szTarget, [=] { return action(data); }) ? 1 : 0; });
}
