#include "core/text.h"
#include "volume/reason_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

bool StartByReason(const std::string& strReason, const Texts& vecServices, Texts& vecFailed,
                   const SystemctlObserver& observer)
{
    return ReleaseReason(MERO_HERE, "starting by reason", AfterRelease::Start, strReason, vecServices, vecFailed,
                         observer);
}

} // namespace

bool MEROSystemdServiceStartByReasonObserved(const std::string& strReason, const Texts& vecServices, Texts& vecFailed,
                                             const SystemctlObserver& observer)
{
    return RunReasonOperation(MERO_HERE, StartByReason, strReason, vecServices, vecFailed, observer);
}

bool MEROSystemdServiceStartByReason(const std::string& strReason, const Texts& vecServices, Texts& vecFailed)
{
    return MEROSystemdServiceStartByReasonObserved(strReason, vecServices, vecFailed, {});
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
