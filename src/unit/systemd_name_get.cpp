#include "core/argument_check.h"
#include "core/no_exceptions.h"
#include "unit/c_buffer.h"
#include "unit/metadata_key.h"

#include <merosystemd/systemd.hpp>

#include <utility>

using namespace MERO::Systemd;

bool MEROSystemdNameGet(const std::string& strUnit, std::string& name)
{
    auto value = MetadataKeyGet(MERO_HERE, strUnit, "Name");
    if (!value) {
        return false;
    }
    name = std::move(*value);
    return !name.empty();
}

int MEROCSystemdNameGet(const char* szUnit, char* szName, int cbName)
{
    if (!MERO_VALID(nullptr != szUnit) || !MERO_VALID(nullptr != szName) || !MERO_VALID(0 < cbName)) {
        return 0;
    }
    return WithoutExceptions(MERO_HERE, [&] {
        std::string name;
        return MEROSystemdNameGet(szUnit, name) && CopyToBuffer(MERO_HERE, name, szName, cbName);
    });
}
