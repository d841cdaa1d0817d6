#include "core/join.h"
#include "volume/reason_change.h"
#include "volume/reason_forms.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

using Texts = std::vector<std::string>;

bool RemoveReason(const std::string& strReason, const Texts& vecServices, Texts& vecFailed)
{
    MERO_LOG(LOG_INFO, "[%s] clear reason [%s] ...", Join(vecServices).c_str(), strReason.c_str());
    const ReasonChange change(vecServices);
    Texts released;
    const bool unlinked = UnlinkReasons(strReason, vecServices, released, vecFailed);
    if (released.empty()) {
        return false;
    }
    const bool changed = change.HappenedTo(released);
    Texts ignored;
    (void)MEROSystemdResetFailed(released, ignored);
    if (changed) {
        (void)MEROSystemdDaemonReload();
    }
    return unlinked;
}

} // namespace

bool MEROSystemdServiceReasonRemove(const std::string& strReason, const Texts& vecServices, Texts& vecFailed)
{
    return RunReasonOperation(MERO_HERE, RemoveReason, strReason, vecServices, vecFailed);
}

bool MEROSystemdServiceReasonRemove(const std::string& strReason, const std::string& strService)
{
    return RunReasonForm(MERO_HERE, MEROSystemdServiceReasonRemove, strReason, strService);
}

int MEROCSystemdServiceReasonRemove(const char* szReason, const char* szService)
{
    return RunCReasonForm(MERO_HERE, MEROSystemdServiceReasonRemove, szReason, szService);
}

int MEROCSystemdServiceReasonRemoveGroup(const char* szReason, const MLIBCSzList* pListServices,
                                         MLIBCSzList** ppListFailed)
{
    return RunCReasonGroupForm(MERO_HERE, MEROSystemdServiceReasonRemove, szReason, pListServices, ppListFailed);
}
