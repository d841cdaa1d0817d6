#include "unit/unit_forms.h"

#include "core/argument_check.h"
#include "unit/c_list.h"

#include <exception>
#include <new>

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
    try {
        return operation(szUnit) ? 1 : 0;
    } catch (const std::exception& error) {
        MERO_LOG_AT(where, LOG_ERR, "Failed on [%s]: %s", szUnit, error.what());
        return 0;
    }
}

int RunCGroupForm(SourceLine where, ListForm* operation, const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed)
{
    if (!MERO_VALID_AT(where, nullptr != pListUnits)) {
        return 0;
    }
    try {
        std::vector<std::string> failed;
        if (operation(FromList(pListUnits), failed)) {
            return 1;
        }
        PushFailedUnits(failed, ppListFailed);
    } catch (const std::bad_alloc& error) { // a null item's exception goes on to the caller
        MERO_LOG_AT(where, LOG_ERR, "Failed on a list of units: %s", error.what());
    }
    return 0;
}

int RunGuardedCGroupForm(SourceLine where, ListForm* operation, const MLIBCSzList* pListUnits)
{
    try {
        return RunCGroupForm(where, operation, pListUnits, nullptr);
    } catch (const std::exception& error) {
        MERO_LOG_AT(where, LOG_ERR, "Failed on a list of units: %s", error.what());
        return 0;
    }
}

} // namespace MERO::Systemd
