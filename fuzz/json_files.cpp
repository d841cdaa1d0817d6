#include "core/json_file.h"
#include "fuzzer.h"
#include "volume/volume_register.h"

#include <unistd.h>

#include <algorithm>

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

namespace {

/// A file's text.
void JsonFile(std::string_view input)
{
    static FolderFile file, written;
    file.Put(input);
    Json::Value value;
    if (!ReadJsonFile({}, file.Path(), value)) {
        return;
    }
    unlink(written.Path());
    MERO_REQUIRE(WriteJsonFile({}, written.Path(), file.Path(), value));
    Json::Value again;
    MERO_REQUIRE(ReadJsonFile({}, written.Path(), again) && again == value);
}

/// A volume, and a register's text.
void VolumeRegister(std::string_view input)
{
    static FolderFile file;
    const std::string volume = TakeLine(input);
    file.Put(input);
    std::vector<std::string> volumes;
    const bool isRead = ReadVolumes(file.Path(), volumes);
    MERO_REQUIRE(isRead || volumes.empty());
    MERO_REQUIRE(IsAnyVolumeRegistered(file.Path(), {volume}) == (std::ranges::count(volumes, volume) > 0));
}

} // namespace

MERO_FUZZ(JsonFile, VolumeRegister)
