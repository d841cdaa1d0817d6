#include "unit/metadata_key.h"

#include "core/errors.h"
#include "core/names.h"
#include "core/text.h"
#include "unit/unit_file.h"

#include <algorithm>
#include <stdexcept>

namespace MERO::Systemd {

std::optional<std::string> MetadataKeyGet(SourceLine where, const std::string& strUnit, const char* key)
{
    if (!MERO_VALID_AT(where, !strUnit.empty())) {
        return std::nullopt;
    }
    try {
        return XTarvixKeyGet(strUnit, key);
    } catch (const std::exception&) {
        return std::nullopt; // no such unit, mostly: the error register says so
    }
}

bool YesKeyGet(SourceLine where, const std::string& strUnit, const char* key, bool& answer)
{
    const auto value = MetadataKeyGet(where, strUnit, key);
    if (value) {
        answer = *value == "yes";
    }
    return value.has_value();
}

bool TargetsKeyGet(SourceLine where, const std::string& strUnit, const char* key, std::vector<std::string>& targets)
{
    const auto value = MetadataKeyGet(where, strUnit, key);
    std::vector<std::string> units;
    if (!value || !Split(*value, units, " ")) {
        return false;
    }
    std::copy_if(units.begin(), units.end(), std::back_inserter(targets),
                 [](const std::string& unit) { return UnitTypeGet(unit) == "target"; });
    return true;
}

} // namespace MERO::Systemd
