#include "unit/status.h"

using namespace MERO::Systemd;

namespace {

constexpr StatusWord kLoadStatus[] = {
    {"stub", MERO_SYSTEMD_LOAD_STATUS_STUB},           {"loaded", MERO_SYSTEMD_LOAD_STATUS_LOADED},
    {"not-found", MERO_SYSTEMD_LOAD_STATUS_NOT_FOUND}, {"error", MERO_SYSTEMD_LOAD_STATUS_ERROR},
    {"merged", MERO_SYSTEMD_LOAD_STATUS_MERGED},       {"masked", MERO_SYSTEMD_LOAD_STATUS_MASKED},
};

} // namespace

int MEROSystemdLoadStatusGet(const std::string& strUnit)
{
    return ShownStatus(MERO_HERE, MEROSystemdShow, strUnit, "LoadState", kLoadStatus);
}

int MEROCSystemdLoadStatusGet(const char* szUnit)
{
    return StatusForC(MERO_HERE, MEROSystemdLoadStatusGet, szUnit);
}
