#include "unit/status.h"

using namespace MERO::Systemd;

namespace {

constexpr StatusWord kActiveStatus[] = {
    {"inactive", MERO_SYSTEMD_ACTIVE_STATUS_INACTIVE},         {"active", MERO_SYSTEMD_ACTIVE_STATUS_ACTIVE},
    {"deactivating", MERO_SYSTEMD_ACTIVE_STATUS_DEACTIVATING}, {"activating", MERO_SYSTEMD_ACTIVE_STATUS_ACTIVATING},
    {"reloading", MERO_SYSTEMD_ACTIVE_STATUS_RELOADING},       {"failed", MERO_SYSTEMD_ACTIVE_STATUS_FAILED},
};

constexpr StatusWord kCurrentOnly[] = {{"refreshing", MERO_SYSTEMD_ACTIVE_STATUS_RELOADING}};

} // namespace

int MEROSystemdActiveStatusGet(const std::string& strUnit)
{
    return ShownStatus(MERO_HERE, MEROSystemdShow, strUnit, "ActiveState", kActiveStatus, kCurrentOnly);
}

int MEROSystemdActiveStatusGetSystem(const std::string& strUnit)
{
    return ShownStatus(MERO_HERE, MEROSystemdShowSystem, strUnit, "ActiveState", kActiveStatus, kCurrentOnly);
}

int MEROCSystemdActiveStatusGet(const char* szUnit)
{
    return StatusForC(MERO_HERE, MEROSystemdActiveStatusGet, szUnit);
}

int MEROCSystemdActiveStatusGetSystem(const char* szUnit)
{
    return StatusForC(MERO_HERE, MEROSystemdActiveStatusGetSystem, szUnit);
}
