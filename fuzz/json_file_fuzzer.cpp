#include "core/json_file.h"
#include "support.h"

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

/// A file's text.
MERO_FUZZ_TARGET(json_file)
{
    static FolderFile file;
    static FolderFile written;
    file.Put(input);
    Json::Value value;
    if (!ReadJsonFile({}, file.Path(), value)) {
        return;
    }
    written.Remove();
    MERO_REQUIRE(WriteJsonFile({}, written.Path(), file.Path(), value));
    Json::Value again;
    MERO_REQUIRE(ReadJsonFile({}, written.Path(), again) && again == value);
}
