#include "unit/unit_file.h"

#include <merosystemd/resource.hpp>

using namespace MERO::Systemd;

bool MEROSystemdIconGet(std::string strUnit, Icon& icon)
{
    const auto name = MetadataKeyGet(MERO_HERE, strUnit, "IconName");
    const auto path = name ? MetadataKeyGet(MERO_HERE, strUnit, "IconPath") : std::nullopt;
    if (!path) {
        return false;
    }
    icon = {.name = *name, .path = *path};
    return true;
}
