#include "core/argument_check.h"
#include "core/no_exceptions.h"
#include "core/split.h"
#include "unit/c_list.h"
#include "unit/metadata_key.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdFirewallSectionsGet(const std::string& strUnit, std::vector<std::string>& sections)
{
    const auto value = MetadataKeyGet(MERO_HERE, strUnit, "FirewallSections");
    return value && Split(*value, sections, " ");
}

int MEROCSystemdFirewallSectionsGet(const char* szUnit, MLIBCSzList** ppFirewallSections)
{
    if (!MERO_VALID(nullptr != szUnit) || !MERO_VALID(nullptr != ppFirewallSections) ||
        !MERO_VALID(nullptr != *ppFirewallSections)) {
        return 0;
    }
    return WithoutExceptions(MERO_HERE, [&] {
        std::vector<std::string> sections;
        return MEROSystemdFirewallSectionsGet(szUnit, sections) && PushToList(sections, ppFirewallSections);
    });
}
