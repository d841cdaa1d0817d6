#include "ini_file.h"
#include "ini_settings.h"
#include "support.h"

using namespace MERO::Core;
using namespace MERO::Fuzz;

namespace {

void CheckLines(std::string_view text)
{
    std::string together;
    for (std::string_view rest = text; !rest.empty();) {
        const IniLine line = TakeIniLine(rest);
        together += line.whole;
        MERO_REQUIRE(!line.whole.empty() && line.whole.find('\n') >= line.whole.size() - 1);
        MERO_REQUIRE(Holds(line.whole, line.name) && Holds(line.whole, line.value));
        if (line.kind == IniLine::Kind::Pair) {
            MERO_REQUIRE(!line.name.empty() && line.name == Trim(line.name) && line.name.find('=') == line.name.npos);
            MERO_REQUIRE(line.value == Trim(line.value));
        }
    }
    MERO_REQUIRE(together == text);
}

} // namespace

/// A section, a key, and a file's text.
MERO_FUZZ_TARGET(ini_file)
{
    const std::string section = TakeLine(input);
    const std::string key = TakeLine(input);
    CheckLines(input);
    auto settings = SettingsOf(input);
    for (const std::optional<std::string>& place :
         {std::optional<std::string>(section), std::optional<std::string>()}) {
        const Keys& keys = settings[place];
        const auto wanted = keys.find(key);
        const auto found = FindIniValue(input, place, key);
        MERO_REQUIRE(found.has_value() == (wanted != keys.end()));
        MERO_REQUIRE(!found || *found == wanted->second);
    }
}
