#include "volume/reason_operation.h"

#include "core/errors.h"
#include "core/failed_units.h"
#include "core/text.h"
#include "unit/unit_operation.h"
#include "volume/reason_store.h"

#include <merosystemd/systemd.hpp>

namespace MERO::Systemd {

bool ReleaseReason(SourceLine where, const char* doing, AfterRelease after, const std::string& reason,
                   const Texts& services, Texts& failed)
{
    MERO_LOG_AT(where, LOG_INFO, "[%s] %s [%s] ...", Join(services).c_str(), doing, reason.c_str());
    const ReasonChange change(services);
    Texts released;
    const bool unlinked = UnlinkReasons(reason, services, released, failed);
    if (released.empty()) {
        return false;
    }
    const bool changed = change.HappenedTo(released);
    Texts ignored;
    (void)MEROSystemdResetFailed(released, ignored);
    const bool started = after == AfterRelease::LeaveStopped || MEROSystemdStart(released, failed);
    if (changed) {
        (void)MEROSystemdDaemonReload(); // its result does not count here, unlike in a stop by reason
    }
    return unlinked && started;
}

bool RunReasonOperation(SourceLine where, ReasonOperation* operation, const std::string& strReason,
                        const Texts& vecServices, Texts& vecFailed)
{
    if (&vecFailed == &vecServices) {
        return AppendFailedUnits(
            vecFailed, [&](auto& own) { return RunReasonOperation(where, operation, strReason, vecServices, own); });
    }
    using std::string; // the conditions' texts are logged as they stand
    // NOLINTNEXTLINE(performance-faster-string-find)
    if (!MERO_VALID_AT(where, !strReason.empty()) || !MERO_VALID_AT(where, string::npos == strReason.find("/")) ||
        !MERO_VALID_AT(where, "." != strReason && ".." != strReason) || // it becomes a file's name
        !MERO_VALID_AT(where, !vecServices.empty())) {
        return false;
    }
    constexpr int kStopped = -1;
    const int done = WithoutExceptions(where, [&] { return operation(strReason, vecServices, vecFailed); }, kStopped,
                                       {.what = "an exception"});
    if (done == kStopped) {
        FailedUnitsCopy(vecServices, vecFailed);
    }
    return done == 1;
}

bool RunReasonForm(SourceLine where, ReasonOperation* listForm, const std::string& strReason,
                   const std::string& strService)
{
    if (!MERO_VALID_AT(where, !strService.empty())) {
        return false;
    }
    Texts failed;
    return listForm(strReason, {strService}, failed);
}

int RunCReasonForm(SourceLine where, ReasonOperation* listForm, const char* szReason, const char* szService)
{
    return MERO_VALID_AT(where, nullptr != szReason) && MERO_VALID_AT(where, nullptr != szService) &&
           WithoutExceptions(where, [&] { return RunReasonForm(where, listForm, szReason, szService); });
}

int RunCReasonGroupForm(SourceLine where, ReasonOperation* listForm, const char* szReason,
                        const MLIBCSzList* pListServices, MLIBCSzList** ppListFailed)
{
    const auto operation = [=](const Texts& services, Texts& failed) { return listForm(szReason, services, failed); };
    return MERO_VALID_AT(where, nullptr != szReason) && MERO_VALID_AT(where, nullptr != pListServices) &&
           RunOnCList(where, {.what = "a list of services"}, operation, pListServices, ppListFailed);
}

} // namespace MERO::Systemd
