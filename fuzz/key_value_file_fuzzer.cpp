#include "ini_settings.h"
#include "support.h"

#include <merocore/error.h>
#include <merocore/file.h>

using namespace MERO::Core;
using namespace MERO::Fuzz;

/// A key, a value for it, and the text of the file that gets them.
MERO_FUZZ_TARGET(key_value_file)
{
    static FolderFile file;
    const std::string key = TakeLine(input).c_str(); // to the first NUL, as the functions see it
    const std::string value = TakeLine(input).c_str();
    file.Put(input);

    const bool isSet = MLIBCFileSetKeyValue(file.Path(), key.c_str(), value.c_str(), 0) == 0;
    MERO_REQUIRE(isSet == IsIniPair(key, value));
    auto settings = SettingsOf(input);
    if (isSet) {
        settings[std::nullopt][key] = value;
        char readBack[64 * 1024 + 1];
        MERO_REQUIRE(MLIBCFileGetKeyValue(file.Path(), key.c_str(), readBack, sizeof readBack, 0) == 0);
        MERO_REQUIRE(readBack == value);
        char start[5];
        MERO_REQUIRE(MLIBCFileGetKeyValue(file.Path(), key.c_str(), start, sizeof start, 0) == 0);
        MERO_REQUIRE(start == value.substr(0, 4));
        MERO_REQUIRE(SettingsOf(file.Text()) == settings);
    } else {
        MERO_REQUIRE(MLIBCErrGet() == MLIBC_ERR_INVALID_ARGUMENT && file.Text() == input);
    }
}
