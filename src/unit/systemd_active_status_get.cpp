#include "core/argument_check.h"
#include "core/no_exceptions.h"
#include "unit/status_words.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

constexpr StatusWord kActiveStatus[] = {
    {"inactive", MERO_SYSTEMD_ACTIVE_STATUS_INACTIVE},         {"active", MERO_SYSTEMD_ACTIVE_STATUS_ACTIVE},
    {"deactivating", MERO_SYSTEMD_ACTIVE_STATUS_DEACTIVATING}, {"activating", MERO_SYSTEMD_ACTIVE_STATUS_ACTIVATING},
    {"reloading", MERO_SYSTEMD_ACTIVE_STATUS_RELOADING},       {"failed", MERO_SYSTEMD_ACTIVE_STATUS_FAILED},
};

int ActiveStatus(SourceLine where, decltype(MEROSystemdShow)* show, const std::string& strUnit)
{
    std::string word;
    if (!MERO_VALID_AT(where, !strUnit.empty()) || !show(strUnit, "ActiveState", word)) {
        return -1;
    }
    return StatusOf(where, kActiveStatus, word);
}

} // namespace

int MEROSystemdActiveStatusGet(const std::string& strUnit)
{
    return ActiveStatus(MERO_HERE, MEROSystemdShow, strUnit);
}

int MEROSystemdActiveStatusGetSystem(const std::string& strUnit)
{
    return ActiveStatus(MERO_HERE, MEROSystemdShowSystem, strUnit);
}

int MEROCSystemdActiveStatusGet(const char* szUnit)
{
    return WithoutExceptions(
        MERO_HERE, [&] { return MERO_VALID(nullptr != szUnit) ? MEROSystemdActiveStatusGet(szUnit) : -1; }, -1);
}

int MEROCSystemdActiveStatusGetSystem(const char* szUnit)
{
    return WithoutExceptions(
        MERO_HERE, [&] { return MERO_VALID(nullptr != szUnit) ? MEROSystemdActiveStatusGetSystem(szUnit) : -1; }, -1);
}
