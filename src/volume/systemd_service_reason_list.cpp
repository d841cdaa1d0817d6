#include "core/c_values.h"
#include "core/directory_entries.h"
#include "core/errors.h"
#include "volume/reason_store.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdServiceReasonList(const std::string& strService, std::vector<std::string>& vecReasons)
{
    return MERO_VALID(!strService.empty()) && CanHaveReasons(strService) &&
           DirectoryEntries(ReasonDirectory(strService), vecReasons) == 0;
}

int MEROCSystemdServiceReasonList(const char* szService, MLIBCSzList** ppListReasons)
{
    return MERO_VALID(nullptr != szService) && MERO_VALID(nullptr != ppListReasons) &&
           MERO_VALID(nullptr != *ppListReasons) && TextsForC(MERO_HERE, ppListReasons, [=](auto& reasons) {
               return MEROSystemdServiceReasonList(szService, reasons);
           });
}
