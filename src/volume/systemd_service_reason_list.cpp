#include "core/argument_check.h"
#include "core/directory_entries.h"
#include "core/no_exceptions.h"
#include "unit/c_list.h"
#include "volume/reason_store.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdServiceReasonList(const std::string& strService, std::vector<std::string>& vecReasons)
{
    return MERO_VALID(!strService.empty()) && CanHaveReasons(strService) &&
           DirectoryEntries(ReasonDirectory(strService), vecReasons);
}

int MEROCSystemdServiceReasonList(const char* szService, MLIBCSzList** ppListReasons)
{
    if (!MERO_VALID(nullptr != szService) || !MERO_VALID(nullptr != ppListReasons) ||
        !MERO_VALID(nullptr != *ppListReasons)) {
        return 0;
    }
    return WithoutExceptions(MERO_HERE, [&] {
        std::vector<std::string> reasons;
        return MEROSystemdServiceReasonList(szService, reasons) && PushToList(reasons, ppListReasons);
    });
}
