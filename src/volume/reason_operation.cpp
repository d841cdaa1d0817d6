#include "volume/reason_operation.h"

#include "core/errors.h"
#include "core/failed_units.h"
#include "core/text.h"
#include "recovery/caller_watcher.h"
#include "unit/unit_operation.h"
#include "volume/reason_store.h"
#include "volume/stopped_along.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

namespace MERO::Systemd {

namespace {

struct Release {
    SourceLine where;
    AfterRelease after;
    const std::string& reason;
    const Texts& services;
    const ReasonChange change{services};

    bool Run(Texts& failed, const SystemctlObserver& observer) const
    {
        Texts released;
        const bool unlinked = UnlinkReasons(reason, services, released, failed);
        if (released.empty()) {
            return false;
        }
        const bool changed = change.HappenedTo(released);
        Texts ignored;
        (void)MEROSystemdResetFailed(released, ignored);
        const bool started =
            after == AfterRelease::LeaveStopped || MEROSystemdStartObserved({}, released, failed, observer);
        if (changed) {
            (void)MEROSystemdDaemonReloadObserved(observer); // ignores its result, unlike a stop by reason
        }
        if (after == AfterRelease::LeaveStopped) {
            ForgetStoppedAlong(released);
        } else {
            StartStoppedAlong(where, released);
        }
        return unlinked && started;
    }
};

/// Runs in the watcher if the caller has ended: does everything again, whatever had been done.
void GoOnForCaller(pid_t caller, const Release& release)
{
    MERO_LOG_AT(release.where, LOG_WARNING, "pid[%d] ended while it was starting [%s] by reason [%s]: this goes on.",
                caller, Join(release.services).c_str(), release.reason.c_str());
    Texts ignored;
    (void)release.Run(ignored, {});
}

} // namespace

bool ReleaseReason(SourceLine where, const char* doing, AfterRelease after, const std::string& reason,
                   const Texts& services, Texts& failed, const SystemctlObserver& observer)
{
    MERO_LOG_AT(where, LOG_INFO, "[%s] %s [%s] ...", Join(services).c_str(), doing, reason.c_str());
    const Release release{.where = where, .after = after, .reason = reason, .services = services};
    CallerWatcher watcher;
    if (after == AfterRelease::Start && IsStoppedAlongRecorded(services)) {
        (void)watcher.Start(
            {}, [&, caller = getpid()] { GoOnForCaller(caller, release); }, [] {});
        watcher.Arm();
    }
    return release.Run(failed, observer);
}

bool RunReasonOperation(SourceLine where, ReasonOperation* operation, const std::string& strReason,
                        const Texts& vecServices, Texts& vecFailed, const SystemctlObserver& observer)
{
    if (&vecFailed == &vecServices) {
        return AppendFailedUnits(vecFailed, [&](auto& own) {
            return RunReasonOperation(where, operation, strReason, vecServices, own, observer);
        });
    }
    using std::string; // the conditions are logged exactly as written here
    // NOLINTNEXTLINE(performance-faster-string-find)
    if (!MERO_VALID_AT(where, !strReason.empty()) || !MERO_VALID_AT(where, string::npos == strReason.find("/")) ||
        !MERO_VALID_AT(where, "." != strReason && ".." != strReason) || // it becomes a file name
        !MERO_VALID_AT(where, !vecServices.empty())) {
        return false;
    }
    constexpr int kStopped = -1;
    const int done = WithoutExceptions(where, [&] { return operation(strReason, vecServices, vecFailed, observer); },
                                       kStopped, {.what = "an exception"});
    if (done == kStopped) {
        FailedUnitsCopy(vecServices, vecFailed);
    }
    return done == 1;
}

bool RunReasonForm(SourceLine where, ReasonForm* listForm, const std::string& strReason, const std::string& strService)
{
    if (!MERO_VALID_AT(where, !strService.empty())) {
        return false;
    }
    Texts failed;
    return listForm(strReason, {strService}, failed);
}

int RunCReasonForm(SourceLine where, ReasonForm* listForm, const char* szReason, const char* szService)
{
    return MERO_VALID_AT(where, nullptr != szReason) && MERO_VALID_AT(where, nullptr != szService) &&
           WithoutExceptions(where, [&] { return RunReasonForm(where, listForm, szReason, szService); });
}

int RunCReasonGroupForm(SourceLine where, ReasonForm* listForm, const char* szReason, const MLIBCSzList* pListServices,
                        MLIBCSzList** ppListFailed)
{
    const auto operation = [=](const Texts& services, Texts& failed) { return listForm(szReason, services, failed); };
    return MERO_VALID_AT(where, nullptr != szReason) && MERO_VALID_AT(where, nullptr != pListServices) &&
           RunOnCList(where, {.what = "a list of services"}, operation, pListServices, ppListFailed);
}

} // namespace MERO::Systemd
