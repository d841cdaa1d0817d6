#include "unit/unit_file.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdPackedInGet(const std::string& strUnit, std::vector<std::string>& targets)
{
    return TargetsKeyGet(MERO_HERE, strUnit, "PackedIn", targets);
}
