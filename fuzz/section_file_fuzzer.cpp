#include "ini_settings.h"
#include "support.h"

#include <merocore/error.h>
#include <merocore/file.h>

#include <memory>

using namespace MERO::Core;
using namespace MERO::Fuzz;

/// A section, a key of it, a value, and the text of the file that gets them.
MERO_FUZZ_TARGET(section_file)
{
    static FolderFile file;
    const std::string section = TakeLine(input).c_str(); // to the first NUL, as the functions see it
    const std::string key = TakeLine(input).c_str();
    const std::string value = TakeLine(input).c_str();
    file.Put(input);

    const std::unique_ptr<MLIBCSzHash, void (*)(MLIBCSzHash*)> hash(MLIBCSzHashAlloc(0), MLIBCSzHashFree);
    MERO_REQUIRE(MLIBCSzHashSetValue(hash.get(), key.c_str(), value.c_str()) == 0);
    MERO_REQUIRE(MLIBCSzHashSetValue(hash.get(), "Last", "1") == 0);
    const bool isAdded = MLIBCFileAddSection(file.Path(), section.c_str(), hash.get(), 0) == 0;
    MERO_REQUIRE(isAdded == (IsIniSection(section) && (key == "Last" || IsIniPair(key, value))));
    auto settings = SettingsOf(input);
    if (isAdded) {
        settings[section] = {{key, value}};
        settings[section]["Last"] = "1";
        char readBack[64 * 1024 + 1];
        MERO_REQUIRE(MLIBCFileGetSectionValue(file.Path(), section.c_str(), key.c_str(), readBack, sizeof readBack) ==
                     0);
        MERO_REQUIRE(readBack == settings[section][key]);
        MERO_REQUIRE(SettingsOf(file.Text()) == settings);
    } else {
        MERO_REQUIRE(MLIBCErrGet() == MLIBC_ERR_INVALID_ARGUMENT && file.Text() == input);
    }
}
