#include "core/join.h"
#include "volume/reason_change.h"
#include "volume/reason_forms.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

using Texts = std::vector<std::string>;

bool StartByReason(const std::string& strReason, const Texts& vecServices, Texts& vecFailed)
{
    MERO_LOG(LOG_INFO, "[%s] starting by reason [%s] ...", Join(vecServices).c_str(), strReason.c_str());
    const ReasonChange change(vecServices);

    // Services with other reasons left are started too, deliberately: what holds them is for their drop-ins to say.
    Texts released;
    const bool unlinked = UnlinkReasons(strReason, vecServices, released, vecFailed);
    if (released.empty()) {
        return false;
    }
    const bool changed = change.HappenedTo(released);
    Texts ignored;
    (void)MEROSystemdResetFailed(released, ignored);
    const bool started = MEROSystemdStart(released, vecFailed);
    if (changed) {
        (void)MEROSystemdDaemonReload(); // its result does not count here, unlike in a stop
    }
    return unlinked && started;
}

} // namespace

bool MEROSystemdServiceStartByReason(const std::string& strReason, const Texts& vecServices, Texts& vecFailed)
{
    return RunReasonOperation(MERO_HERE, StartByReason, strReason, vecServices, vecFailed);
}

bool MEROSystemdServiceStartByReason(const std::string& strReason, const std::string& strService)
{
    return RunReasonForm(MERO_HERE, MEROSystemdServiceStartByReason, strReason, strService);
}

int MEROCSystemdServiceStartByReason(const char* szReason, const char* szService)
{
    return RunCReasonForm(MERO_HERE, MEROSystemdServiceStartByReason, szReason, szService);
}

int MEROCSystemdServiceStartGroupByReason(const char* szReason, const MLIBCSzList* pListServices,
                                          MLIBCSzList** ppListFailed)
{
    return RunCReasonGroupForm(MERO_HERE, MEROSystemdServiceStartByReason, szReason, pListServices, ppListFailed);
}
