#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "unit/enable_status_flag.h"

#include "core/directory_walk.h"
#include "core/errors.h"
#include "core/log.h"
#include "core/names.h"

#include <merocore/file.h>

#include <unistd.h>

namespace MERO::Systemd {
namespace {

constexpr const char* kFlags = "/usr/mero/etc/merosystemd/enable-status-changed/";

std::string FlagPath(const std::string& unit)
{
    return kFlags + NormalizedUnitNameGet(unit);
}

} // namespace

void SetEnableStatusChanged(const std::string& unit)
{
    if (!MakeDirectory(kFlags)) {
        MERO_LOG(LOG_ERR, "Failed to mkdir -p [%s] " MERO_CORE_ERROR_FORMAT, kFlags, MERO_CORE_ERROR_VALUES);
        return;
    }
    const std::string path = FlagPath(LastComponent(unit));
    if (MLIBCFileTouch(path.c_str()) < 0) {
        MERO_LOG(LOG_ERR, "Failed to touch [%s] " MERO_CORE_ERROR_FORMAT, path.c_str(), MERO_CORE_ERROR_VALUES);
    }
}

bool IsEnableStatusChanged(const std::string& unit)
{
    return MLIBCFileExist(FlagPath(unit).c_str()) != 0;
}

bool RemoveEnableStatusChanged(const std::string& unit)
{
    return unlink(FlagPath(unit).c_str()) == 0;
}

} // namespace MERO::Systemd
