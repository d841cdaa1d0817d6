#define MERO_SOURCE_NAME "systemd_volume_unmount_action"
#include "volume/unmount_run.h"

#include "core/interruption.h"
#include "core/log.h"
#include "core/text.h"
#include "recovery/caller_watcher.h"
#include "recovery/left_over_systemctl.h"
#include "unit/unit_file.h"
#include "unit/unit_operation.h"
#include "volume/unmount_record.h"
#include "volume/unmount_restore.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <iterator>
#include <optional>

namespace MERO::Systemd {
namespace {

const std::string kDirectory = "/run/systemd/system/";

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

/// Whether this process is in one of the units: systemd cannot start that unit while we run.
bool IsAnyOurs(const Texts& units)
{
    std::string unit;
    return MEROSystemdGetByPid(getpid(), unit) && Contains(units, unit);
}

void FinishInCurrentDialect(const UnmountRestore& back)
{
    if (back.isCurrent) {
        (void)back.StartUnits();
        UnmountRecord::Remove();
    }
}

/// Runs in the watcher if the caller has ended.
void RestoreForCaller(pid_t caller, const Texts& volumes, const UnmountRestore& back)
{
    MERO_LOG(LOG_WARNING, "pid[%d] ended while it was unmounting [%s]: [%s] start again.", caller,
             Join(volumes).c_str(), Join(back.services).c_str());
    AwaitLeftOverSystemctl("start", kBeginTarget);
    (void)back.WaitForJobs();
    (void)back.StartEndTarget(true);
    FinishInCurrentDialect(back);
}

/// Returns the record of an interrupted unmount, if there is one, with only the units that may still be started.
std::optional<UnmountRecord> FindInterrupted()
{
    UnmountRecord record;
    VolumeUnmountState::Kind kind{};
    if (!ReadUnmountRecord(record, kind) || kind != VolumeUnmountState::Kind::Interrupted) {
        return std::nullopt;
    }
    MERO_LOG(LOG_WARNING, "The unmount of [%s] by pid[%d] was interrupted: [%s] start again with this one.",
             Join(record.volumes).c_str(), record.caller, Join(record.services).c_str());
    LeaveOutHeldOrGone(record);
    return record;
}

void AddMissing(const Texts& from, Texts& to)
{
    std::copy_if(from.begin(), from.end(), std::back_inserter(to),
                 [&](const std::string& unit) { return !Contains(to, unit); });
}

/// One unmount, from when the locks are held and the stop set is known.
class UnmountRun {
public:
    UnmountRun(const Texts& volumes, const VolumeStopSet& set, const std::vector<int>& locks)
        : volumes_(volumes), locks_(locks), stops_(set), back_(set)
    {
        interrupted_ = back_.isCurrent ? FindInterrupted() : std::nullopt;
        if (interrupted_) {
            AddMissing(interrupted_->services, back_.services);
            AddMissing(interrupted_->units, back_.units);
        }
    }

    bool Run(const std::function<bool()>& action)
    {
        return stops_.services.empty() ? RunOnly(action) : RunBetweenStopAndStart(action);
    }

private:
    /// Stops nothing, but starts again what an interrupted unmount has left stopped.
    bool RunOnly(const std::function<bool()>& action)
    {
        MERO_LOG(LOG_INFO, "we will not stop any service for umounting: [%s]", Join(volumes_).c_str());
        if (!interrupted_) {
            return action();
        }
        return RunAndRestore(action, [&] { return (void)FinishInterruptedUnmount(*interrupted_), true; });
    }

    bool RunBetweenStopAndStart(const std::function<bool()>& action)
    {
        (void)watcher_.Start(
            locks_, [&, caller = getpid()] { RestoreForCaller(caller, volumes_, back_); }, [&] { TakeRecordBack(); });
        if (!Prepare()) {
            return false;
        }
        MERO_LOG(LOG_INFO, "the following service will temporarily stop for volume unmounting: [%s][%s]",
                 Join(volumes_).c_str(), Join(stops_.services).c_str());
        watcher_.Arm();
        bool mayBeStopping = true;
        return RunAndRestore([&] { return Stop(mayBeStopping) && action(); }, [&] { return Restore(mayBeStopping); });
    }

    bool Prepare() const
    {
        bool isPrepared = false;
        return RunAndRestore(
            [&] {
                Record();
                return isPrepared = RemoveTarget(kBeginTarget) && RemoveTarget(kEndTarget) &&
                                    WriteTarget(kBeginTarget, "Conflicts", stops_.services) &&
                                    WriteTarget(kEndTarget, "Wants", back_.services) && MEROSystemdDaemonReload();
            },
            [&] {
                if (!isPrepared) {
                    TakeRecordBack();
                }
                return true;
            });
    }

    bool Stop(bool& mayBeStopping) const
    {
        bool wasKilled = false;
        const bool stopped = StartIrreversibly(kBeginTarget, wasKilled);
        mayBeStopping = !stopped || wasKilled;
        return stopped && (!wasKilled || back_.WaitForJobs());
    }

    bool Restore(bool mayBeStopping)
    {
        try {
            const bool isOurs = IsAnyOurs(back_.isCurrent ? back_.units : back_.services);
            const bool started = back_.StartEndTarget(mayBeStopping && !isOurs);
            if (!isOurs || !watcher_.HandOver()) {
                FinishInCurrentDialect(back_);
            }
            return started;
        } catch (const std::exception&) { // out of memory here, but the watcher has its own
            (void)watcher_.HandOver();
            throw;
        }
    }

    void Record() const
    {
        if (back_.isCurrent) {
            (void)UnmountRecord{.volumes = volumes_,
                                .services = back_.services,
                                .units = back_.units,
                                .since = std::time(nullptr),
                                .caller = getpid(),
                                .watcher = watcher_.Pid()}
                .Write();
        }
    }

    /// Undoes Record() when nothing has been stopped: restores the record of an interrupted unmount, if there was one.
    void TakeRecordBack() const
    {
        if (interrupted_) {
            (void)interrupted_->Write();
        } else if (back_.isCurrent) {
            UnmountRecord::Remove();
        }
    }

    const Texts& volumes_;
    const std::vector<int>& locks_;
    const UnmountRestore stops_; ///< what this unmount stops
    UnmountRestore back_;        ///< also with what an interrupted one has stopped
    std::optional<UnmountRecord> interrupted_;
    CallerWatcher watcher_; ///< ends before the locks are freed
};

} // namespace

bool RunUnmount(const Texts& volumes, const VolumeStopSet& set, const std::vector<int>& locks,
                const std::function<bool()>& action)
{
    return UnmountRun(volumes, set, locks).Run(action);
}

bool FinishInterruptedUnmount(UnmountRecord record)
{
    LeaveOutHeldOrGone(record);
    UnmountRestore back{VolumeStopSet()};
    back.isCurrent = true;
    back.units = std::move(record.units);
    const bool started = back.units.empty() || (back.WaitForJobs() && back.StartUnits());
    UnmountRecord::Remove();
    return started;
}

} // namespace MERO::Systemd
