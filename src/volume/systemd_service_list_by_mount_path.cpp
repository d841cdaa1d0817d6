#include "core/argument_check.h"
#include "core/no_exceptions.h"
#include "unit/c_list.h"
#include "volume/mount_users.h"

#include <merosystemd/systemd.hpp>

#include <unordered_set>

using namespace MERO::Systemd;

bool MEROSystemdServiceListByMntPath(const std::string& strMntPath, std::vector<std::string>& vecServices)
{
    std::unordered_set<std::string> services;
    if (!ForEachMountUser(strMntPath, [&](ProcessFiles&, const MountUser& user) { services.insert(user.service); })) {
        return false;
    }
    vecServices.assign(services.begin(), services.end());
    return true;
}

int MEROCSystemdServiceListByMntPath(const char* szMntPath, MLIBCSzList** ppListServices)
{
    if (!MERO_VALID(nullptr != szMntPath) || !MERO_VALID(nullptr != ppListServices) ||
        !MERO_VALID(nullptr != *ppListServices)) {
        return 0;
    }
    return WithoutExceptions(MERO_HERE, [&] {
        std::vector<std::string> services;
        return MEROSystemdServiceListByMntPath(szMntPath, services) && PushToList(services, ppListServices);
    });
}
