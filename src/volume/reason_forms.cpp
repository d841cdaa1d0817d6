#include "volume/reason_forms.h"

#include "core/argument_check.h"
#include "core/failed_units.h"
#include "core/no_exceptions.h"
#include "unit/c_list.h"

#include <exception>

namespace MERO::Systemd {

bool RunReasonOperation(SourceLine where, ReasonOperation* operation, const std::string& strReason,
                        const std::vector<std::string>& vecServices, std::vector<std::string>& vecFailed)
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
    try {
        return operation(strReason, vecServices, vecFailed);
    } catch (const std::exception& error) {
        MERO_LOG_AT(where, LOG_ERR, "Failed on an exception: %s", error.what());
        FailedUnitsCopy(vecServices, vecFailed);
        return false;
    }
}

bool RunReasonForm(SourceLine where, ReasonOperation* listForm, const std::string& strReason,
                   const std::string& strService)
{
    if (!MERO_VALID_AT(where, !strService.empty())) {
        return false;
    }
    std::vector<std::string> failed;
    return listForm(strReason, {strService}, failed);
}

int RunCReasonForm(SourceLine where, ReasonOperation* listForm, const char* szReason, const char* szService)
{
    if (!MERO_VALID_AT(where, nullptr != szReason) || !MERO_VALID_AT(where, nullptr != szService)) {
        return 0;
    }
    return WithoutExceptions(where, [&] { return RunReasonForm(where, listForm, szReason, szService); });
}

int RunCReasonGroupForm(SourceLine where, ReasonOperation* listForm, const char* szReason,
                        const MLIBCSzList* pListServices, MLIBCSzList** ppListFailed)
{
    if (!MERO_VALID_AT(where, nullptr != szReason) || !MERO_VALID_AT(where, nullptr != pListServices)) {
        return 0;
    }
    try {
        std::vector<std::string> failed;
        if (listForm(szReason, FromList(pListServices), failed)) {
            return 1;
        }
        PushFailedUnits(failed, ppListFailed);
    } catch (const std::exception& error) {
        MERO_LOG_AT(where, LOG_ERR, "Failed on a list of services: %s", error.what());
    }
    return 0;
}

} // namespace MERO::Systemd
