#include "unit/unit_forms.h"

#include "core/argument_check.h"
#include "unit/c_list.h"

namespace MERO::Systemd {

bool RunSingleForm(SourceLine where, ListForm* operation, const std::string& strUnit)
{
    if (!MERO_VALID_AT(where, !strUnit.empty())) {
        return false;
    }
    std::vector<std::string> failed;
    return operation({strUnit}, failed);
}

int RunCForm(SourceLine where, SingleForm* operation, const char* szUnit)
{
    if (!MERO_VALID_AT(where, nullptr != szUnit)) {
        return 0;
    }
    return operation(szUnit) ? 1 : 0;
}

int RunCGroupForm(SourceLine where, ListForm* operation, const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed)
{
    if (!MERO_VALID_AT(where, nullptr != pListUnits)) {
        return 0;
    }
    std::vector<std::string> failed;
    if (operation(FromList(pListUnits), failed)) {
        return 1;
    }
    if (ppListFailed != nullptr && *ppListFailed != nullptr) {
        (void)PushToList(failed, ppListFailed);
    }
    return 0;
}

} // namespace MERO::Systemd
