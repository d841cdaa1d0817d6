#include "core/c_values.h"
#include "core/errors.h"
#include "unit/unit_file.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>

using namespace MERO::Systemd;

bool MEROSystemdNameI18nGet(const std::string& strUnit, std::string& nameI18n)
{
    const auto value = MetadataKeyGet(MERO_HERE, strUnit, "NameI18n");
    if (!value) {
        return false;
    }
    nameI18n = *value;
    const auto colons = std::count(nameI18n.begin(), nameI18n.end(), ':');
    return colons == 1 || colons == 2;
}

int MEROCSystemdNameI18nGet(const char* szUnit, char* szNameI18n, int cbNameI18n)
{
    return MERO_VALID(nullptr != szUnit) && MERO_VALID(nullptr != szNameI18n) && MERO_VALID(0 < cbNameI18n) &&
           TextForC(MERO_HERE, szNameI18n, cbNameI18n,
                    [=](std::string& nameI18n) { return MEROSystemdNameI18nGet(szUnit, nameI18n); });
}
