#include "core/c_values.h"
#include "core/errors.h"
#include "core/interruption.h"
#include "core/lock.h"
#include "core/status_monitor.h"
#include "core/text.h"
#include "unit/unit_file.h"
#include "volume/volume_stops.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

#include <algorithm>
#include <cerrno>

using namespace MERO::Systemd;

namespace {

constexpr int kLockTimeout = 3600; // seconds
constexpr int kMaxWait = 300;      // seconds
const std::string kDirectory = "/run/systemd/system/";
const std::string kBeginTarget = "unmount-volume-begin.target"; // stops the services
const std::string kEndTarget = "unmount-volume-end.target";     // starts them again

bool RemoveTarget(const std::string& target)
{
    const std::string path = kDirectory + target;
    const bool removed = unlink(path.c_str()) == 0 || errno == ENOENT;
    if (!removed) {
        MERO_LOG(LOG_ERR, "Fail to remove [%s].", path.c_str());
    }
    return removed;
}

bool WriteTarget(const std::string& target, const char* relation, const Texts& services)
{
    const std::string units = Join(services, " ");
    const bool written = AddUnitSection(kDirectory, target, "Unit",
                                        {{relation, units}, {"After", units}, {"DefaultDependencies", "no"}});
    if (!written) {
        MERO_LOG(LOG_ERR, "Fail to add unit section in [%s].", (kDirectory + target).c_str());
    }
    return written;
}

/// Waits until systemd has no job left for the stopping target and for the services. False when there was none to wait
/// for, or one is there after five minutes.
bool WaitForJobs(const Texts& services)
{
    const auto isAwaited = [&](const auto& entry) {
        const std::string& unit = entry.second.unit;
        return unit == kBeginTarget || std::find(services.begin(), services.end(), unit) != services.end();
    };
    for (int pass = 0; pass <= kMaxWait; ++pass) {
        std::map<std::uint32_t, JobInfo> jobs;
        if (!MEROSystemdIntJobList(jobs)) {
            return false;
        }
        if (std::none_of(jobs.begin(), jobs.end(), isAwaited)) {
            return pass > 0;
        }
        SleepOneSecond();
    }
    return false;
}

/// Stop jobs that are still queued when the stopping target has failed, or was given up, keep the services from being
/// started: nothing can replace them.
bool StartAgain(const Texts& services)
{
    return MEROSystemdStart(kEndTarget) || (WaitForJobs(services) && MEROSystemdStart(kEndTarget));
}

bool RunBetweenStopAndStart(const Texts& volumes, const Texts& services, const std::function<bool()>& action)
{
    if (!RemoveTarget(kBeginTarget) || !RemoveTarget(kEndTarget) || !WriteTarget(kBeginTarget, "Conflicts", services) ||
        !WriteTarget(kEndTarget, "Wants", services) || !MEROSystemdDaemonReload()) {
        return false;
    }
    MERO_LOG(LOG_INFO, "the following service will temporarily stop for volume unmounting: [%s][%s]",
             Join(volumes).c_str(), Join(services).c_str());
    return RunAndGoBack([&] { return MEROSystemdStartIrreversibly(kBeginTarget) && action(); },
                        [&] { return StartAgain(services); });
}

} // namespace

bool _MEROSystemdVolumeUnmountAction(const Texts& vecVolumes, std::function<bool()>&& action)
{
    if (!MERO_VALID(!vecVolumes.empty()) || !AreVolumes(vecVolumes)) {
        return false;
    }
    const CancelBlock block;
    FileLock unmountLock("/run/merosystemd/locks/volume-unmount-action.lock", true, kLockTimeout);
    FileLock isolateLock(kIsolateAndVolumeUnmountLock, false, kLockTimeout);
    if (!block.LiftFor([&] { return unmountLock.Acquire() && isolateLock.Acquire(); })) {
        // In either case names the first lock, which programs that read the log match.
        MERO_LOG(LOG_ERR, "Failed to get lock [%s]", unmountLock.PathGet().c_str());
        return false;
    }
    StatusMonitor monitor;
    if (!monitor.Start()) {
        MERO_LOG(LOG_ERR, "Failed to monitor systemd status in volume unmount action");
    }
    VolumeStops stops;
    if (!FindVolumeStops(vecVolumes, stops)) {
        return false;
    }
    if (stops.empty()) {
        MERO_LOG(LOG_INFO, "we will not stop any service for umounting: [%s]", Join(vecVolumes).c_str());
        return block.LiftFor(action);
    }
    Texts services;
    for (const auto& [unit, causes] : stops) {
        services.push_back(unit);
    }
    return RunBetweenStopAndStart(vecVolumes, services, [&] { return block.LiftFor(action); });
}

namespace {

/// The action on behalf of C.
int RunForC(const std::function<Texts()>& volumes, bool (*action)(void*), void* data)
{
    return WithoutExceptions(
        MERO_HERE, [&] { return _MEROSystemdVolumeUnmountAction(volumes(), [=] { return action(data); }) ? 1 : 0; });
}

} // namespace

int MEROCSystemdVolumeUnmountAction(const char* szVolume, bool (*action)(void*), void* data)
{
    if (!MERO_VALID(nullptr != szVolume) || !MERO_VALID(nullptr != action)) {
        return 0;
    }
    return RunForC([=] { return Texts{szVolume}; }, action, data);
}

int MEROCSystemdVolumeGroupUnmountAction(const MLIBCSzList* pListVolumes, bool (*action)(void*), void* data)
{
    if (!MERO_VALID(nullptr != pListVolumes) || !MERO_VALID(nullptr != action)) {
        return 0;
    }
    return RunForC([=] { return FromList(pListVolumes); }, action, data); // a null item throws
}
