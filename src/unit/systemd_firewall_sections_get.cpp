#include "core/c_values.h"
#include "core/errors.h"
#include "core/text.h"
#include "unit/unit_file.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdFirewallSectionsGet(const std::string& strUnit, std::vector<std::string>& sections)
{
    const auto value = MetadataKeyGet(MERO_HERE, strUnit, "FirewallSections");
    return value && Split(*value, sections, " ");
}

int MEROCSystemdFirewallSectionsGet(const char* szUnit, MLIBCSzList** ppFirewallSections)
{
    return MERO_VALID(nullptr != szUnit) && MERO_VALID(nullptr != ppFirewallSections) &&
           MERO_VALID(nullptr != *ppFirewallSections) && TextsForC(MERO_HERE, ppFirewallSections, [=](auto& sections) {
               return MEROSystemdFirewallSectionsGet(szUnit, sections);
           });
}
