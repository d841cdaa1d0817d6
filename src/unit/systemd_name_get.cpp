#include "core/c_values.h"
#include "core/errors.h"
#include "unit/unit_file.h"

#include <merosystemd/systemd.hpp>

#include <utility>

using namespace MERO::Systemd;

bool MEROSystemdNameGet(const std::string& strUnit, std::string& name)
{
    auto value = MetadataKeyGet(MERO_HERE, strUnit, "Name");
    if (!value) {
        return false;
    }
    name = std::move(*value);
    return !name.empty();
}

int MEROCSystemdNameGet(const char* szUnit, char* szName, int cbName)
{
    return MERO_VALID(nullptr != szUnit) && MERO_VALID(nullptr != szName) && MERO_VALID(0 < cbName) &&
           TextForC(MERO_HERE, szName, cbName, [=](std::string& name) { return MEROSystemdNameGet(szUnit, name); });
}
