#include "core/text.h"
#include "volume/reason_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

bool RemoveReason(const std::string& strReason, const Texts& vecServices, Texts& vecFailed,
                  const SystemctlObserver& observer)
{
    return ReleaseReason(MERO_HERE, "clear reason", AfterRelease::LeaveStopped, strReason, vecServices, vecFailed,
                         observer);
}

} // namespace

bool MEROSystemdServiceReasonRemove(const std::string& strReason, const Texts& vecServices, Texts& vecFailed)
{
    return RunReasonOperation(MERO_HERE, RemoveReason, strReason, vecServices, vecFailed, {});
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
