#include "core/directory_walk.h"
#include "core/errors.h"
#include "core/systemctl_dialect.h"
#include "core/text.h"
#include "volume/reason_operation.h"
#include "volume/reason_store.h"
#include "volume/stopped_along.h"

#include <merocore/file.h>
#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

bool AddReason(const std::string& reason, const std::string& service)
{
    if (!CanHaveReasons(service)) {
        return false;
    }
    const std::string directory = ReasonDirectory(service);
    if (!MakeDirectory(directory)) {
        MERO_LOG(LOG_ERR, "failed to mkdir reason directory [%s]", directory.c_str());
        return false;
    }
    const std::string file = directory + "/" + reason;
    if (MLIBCFileTouch(file.c_str()) < 0) {
        MERO_LOG(LOG_ERR, "failed to touch reason file [%s] " MERO_CORE_ERROR_FORMAT, file.c_str(),
                 MERO_CORE_ERROR_VALUES);
        return false;
    }
    return true;
}

bool StopByReason(const std::string& strReason, const Texts& vecServices, Texts& vecFailed,
                  const SystemctlObserver& observer)
{
    MERO_LOG(LOG_INFO, "[%s] stopping by reason [%s] ...", Join(vecServices).c_str(), strReason.c_str());
    const ReasonChange change(vecServices);

    // The reasons are added before the stop: from then on nobody starts the services again.
    Texts held;
    for (const std::string& service : vecServices) {
        (AddReason(strReason, service) ? held : vecFailed).push_back(service);
    }
    if (held.empty()) {
        return false;
    }
    const bool changed = change.HappenedTo(held);
    if (ConfiguredSystemctlDialect().isCurrent) {
        RecordStoppedAlong(MERO_HERE, held);
    }
    const bool stopped = MEROSystemdStopObserved({}, held, vecFailed, observer);
    const bool reloaded = !changed || MEROSystemdDaemonReloadObserved(observer);
    return held.size() == vecServices.size() && stopped && reloaded;
}

} // namespace

bool MEROSystemdServiceStopByReasonObserved(const std::string& strReason, const Texts& vecServices, Texts& vecFailed,
                                            const SystemctlObserver& observer)
{
    return RunReasonOperation(MERO_HERE, StopByReason, strReason, vecServices, vecFailed, observer);
}

bool MEROSystemdServiceStopByReason(const std::string& strReason, const Texts& vecServices, Texts& vecFailed)
{
    return MEROSystemdServiceStopByReasonObserved(strReason, vecServices, vecFailed, {});
}

bool MEROSystemdServiceStopByReason(const std::string& strReason, const std::string& strService)
{
    return RunReasonForm(MERO_HERE, MEROSystemdServiceStopByReason, strReason, strService);
}

int MEROCSystemdServiceStopByReason(const char* szReason, const char* szService)
{
    return RunCReasonForm(MERO_HERE, MEROSystemdServiceStopByReason, szReason, szService);
}

int MEROCSystemdServiceStopGroupByReason(const char* szReason, const MLIBCSzList* pListServices,
                                         MLIBCSzList** ppListFailed)
{
    return RunCReasonGroupForm(MERO_HERE, MEROSystemdServiceStopByReason, szReason, pListServices, ppListFailed);
}
