#include "core/json_file.h"
#include "support.h"
#include "volume/volume_register.h"

#include <algorithm>

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

/// A volume, and a register's text.
MERO_FUZZ_TARGET(volume_register)
{
    static FolderFile file;
    const std::string volume = TakeLine(input);
    file.Put(input);
    std::vector<std::string> volumes;
    const bool isRead = ReadVolumes(file.Path(), volumes);

    Json::Value value;
    MERO_REQUIRE(isRead == (ReadJsonFile({}, file.Path(), value) && value.isArray()));
    MERO_REQUIRE(isRead || volumes.empty());
    const bool isHeld = std::find(volumes.begin(), volumes.end(), volume) != volumes.end();
    MERO_REQUIRE(IsAnyVolumeRegistered(file.Path(), {volume}) == isHeld);
    if (isRead) {
        MERO_REQUIRE(std::count(value.begin(), value.end(), Json::Value(volume)) ==
                     std::count(volumes.begin(), volumes.end(), volume));
        MERO_REQUIRE(static_cast<std::size_t>(std::count_if(value.begin(), value.end(), [](const Json::Value& element) {
                         return element.isString();
                     })) == volumes.size());
    }
}
