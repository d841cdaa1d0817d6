#include "core/c_values.h"
#include "core/errors.h"
#include "core/interruption.h"
#include "core/lock.h"
#include "core/status_monitor.h"
#include "core/systemctl_dialect.h"
#include "core/text.h"
#include "volume/full_plan.h"
#include "volume/unmount_run.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

constexpr int kLockTimeout = 3600; // seconds

using Agreement = std::function<bool(const FullVolumeUnmountPlan&)>;

/// The locks that an unmount holds.
struct UnmountLocks {
    FileLock unmount{"/run/merosystemd/locks/volume-unmount-action.lock", true, kLockTimeout};
    FileLock isolate{kIsolateAndVolumeUnmountLock, false, kLockTimeout};

    bool Acquire(const CancelBlock& block)
    {
        const bool acquired = block.LiftFor([&] { return unmount.Acquire() && isolate.Acquire(); });
        if (!acquired) {
            // Names the first lock even if it was the second: programs match this text.
            MERO_LOG(LOG_ERR, "Failed to get lock [%s]", unmount.PathGet().c_str());
        }
        return acquired;
    }

    std::vector<int> Descriptors() const { return {unmount.FdGet(), isolate.FdGet()}; }
};

void LogPlan(const VolumeStopSet& set)
{
    for (const auto& [unit, takenBy] : set.dependents) {
        MERO_LOG(LOG_INFO, "[%s] stops along with [%s]%s.", unit.c_str(), takenBy.c_str(),
                 set.StartsAgain(unit) ? "" : ", and is not started again");
    }
    for (const VolumeTrigger& trigger : set.triggers) {
        MERO_LOG(LOG_WARNING, "[%s] may start [%s] again while the volume is being unmounted.", trigger.unit.c_str(),
                 trigger.service.c_str());
    }
}

bool Unmount(const Texts& vecVolumes, const Agreement& agree, const std::function<bool()>& action)
{
    if (!MERO_VALID(!vecVolumes.empty()) || !AreVolumes(vecVolumes)) {
        return false;
    }
    const CancelBlock block;
    UnmountLocks locks;
    if (!locks.Acquire(block)) {
        return false;
    }
    StatusMonitor monitor;
    if (!monitor.Start()) {
        MERO_LOG(LOG_ERR, "Failed to monitor systemd status in volume unmount action");
    }
    VolumeStopSet set;
    if (!FindVolumeStops(vecVolumes, set)) {
        return false;
    }
    if (agree && !block.LiftFor([&] { return agree(PlanOf(set)); })) {
        return false;
    }
    LogPlan(set);
    return RunUnmount(vecVolumes, set, locks.Descriptors(), [&] { return block.LiftFor(action); });
}

} // namespace

bool _MEROSystemdVolumeUnmountAction(const Texts& vecVolumes, std::function<bool()>&& action)
{
    return Unmount(vecVolumes, nullptr, action);
}

bool MEROSystemdVolumeUnmountWithPlan(const Texts& vecVolumes, const Agreement& agree,
                                      const std::function<bool()>& action)
{
    return Unmount(vecVolumes, agree, action);
}

bool MEROSystemdVolumeUnmountStateGet(VolumeUnmountState& state)
{
    UnmountRecord record;
    VolumeUnmountState::Kind kind{};
    if (!ReadUnmountRecord(record, kind)) {
        return false;
    }
    state = VolumeUnmountState();
    if (kind != VolumeUnmountState::Kind::None) {
        state = {.kind = kind,
                 .volumes = std::move(record.volumes),
                 .units = std::move(record.units),
                 .since = record.since,
                 .pid = record.caller};
    }
    return true;
}

bool MEROSystemdVolumeUnmountRecover()
{
    const CancelBlock block;
    UnmountLocks locks;
    UnmountRecord record;
    VolumeUnmountState::Kind kind{};
    if (!locks.Acquire(block) || !ReadUnmountRecord(record, kind)) {
        return false;
    }
    return kind != VolumeUnmountState::Kind::Interrupted || FinishInterruptedUnmount(record);
}

namespace {

/// Runs the unmount action for the C forms.
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
