#include "core/errors.h"
#include "unit/unit_file.h"

#include <merosystemd/systemd.hpp>

#include <map>

using namespace MERO::Systemd;

namespace {

const std::map<std::string, MERO_SYSTEMD_VOLUME_DEPENDENCY> kWords{
    {"none", MERO_SYSTEMD_VOLUME_DEPENDENCY_NONE},
    {"all", MERO_SYSTEMD_VOLUME_DEPENDENCY_ALL},
    {"partial", MERO_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL},
};

} // namespace

bool MEROSystemdVolumeDependencyGet(const std::string& strUnit, MERO_SYSTEMD_VOLUME_DEPENDENCY& dependency)
{
    const auto value = MetadataKeyGet(MERO_HERE, strUnit, "VolumeDependency");
    if (!value) {
        return false;
    }
    const auto word = kWords.find(*value);
    dependency = word != kWords.end() ? word->second : MERO_SYSTEMD_VOLUME_DEPENDENCY_NONE;
    return true;
}

int MEROCSystemdVolumeDependencyGet(const char* szUnit, MERO_SYSTEMD_VOLUME_DEPENDENCY* pDependency)
{
    return MERO_VALID(nullptr != szUnit) && MERO_VALID(nullptr != pDependency) &&
           WithoutExceptions(MERO_HERE, [=] { return MEROSystemdVolumeDependencyGet(szUnit, *pDependency); });
}
