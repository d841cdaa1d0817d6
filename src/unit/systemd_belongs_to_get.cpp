#include "unit/unit_file.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdBelongsToGet(const std::string& strUnit, std::vector<std::string>& targets)
{
    return TargetsKeyGet(MERO_HERE, strUnit, "BelongsTo", targets);
}
