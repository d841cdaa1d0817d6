#include "core/c_values.h"
#include "core/errors.h"
#include "volume/mount_users.h"

#include <merosystemd/systemd.hpp>

#include <unordered_set>

using namespace MERO::Systemd;

bool MEROSystemdServiceListByMntPath(const std::string& strMntPath, std::vector<std::string>& vecServices)
{
    std::unordered_set<std::string> services;
    const auto take = [&](ProcessFiles&, const MountUser& user) { services.insert(user.service); };
    if (!ForEachMountUser(strMntPath, MountUserSearch::AsPublished, take)) {
        return false;
    }
    vecServices.assign(services.begin(), services.end());
    return true;
}

int MEROCSystemdServiceListByMntPath(const char* szMntPath, MLIBCSzList** ppListServices)
{
    return MERO_VALID(nullptr != szMntPath) && MERO_VALID(nullptr != ppListServices) &&
           MERO_VALID(nullptr != *ppListServices) && TextsForC(MERO_HERE, ppListServices, [=](auto& services) {
               return MEROSystemdServiceListByMntPath(szMntPath, services);
           });
}
