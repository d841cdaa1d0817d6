#include "fuzzer.h"
#include "ini_file.h"
#include "isolate/isolate_state.h"

#include <merocore/error.h>
#include <merocore/file.h>

#include <unistd.h>

#include <map>
#include <memory>

using namespace MERO::Core;
using namespace MERO::Fuzz;

namespace {

using Settings = std::map<std::optional<std::string>, std::map<std::string, std::string>>;

/// All values that a text sets, by section; those before the first header have none.
Settings SettingsOf(std::string_view text)
{
    Settings settings;
    std::optional<std::string> section;
    while (!text.empty()) {
        const IniLine line = TakeIniLine(text);
        if (line.kind == IniLine::Kind::Header) {
            section = line.name;
        } else if (line.kind == IniLine::Kind::Pair) {
            settings[section][std::string(line.name)] = line.value;
        }
    }
    return settings;
}

/// A section, a key, and a file's text: compares the search for one value with reading all lines.
void IniText(std::string_view input)
{
    const std::string section = TakeLine(input), key = TakeLine(input);
    auto settings = SettingsOf(input);
    for (const std::optional<std::string>& place : {std::optional(section), std::optional<std::string>()}) {
        const auto found = FindIniValue(input, place, key);
        MERO_REQUIRE(found.has_value() == settings[place].contains(key));
        MERO_REQUIRE(!found || *found == settings[place][key]);
    }
}

/// A key, its value, and the text of the file to set them in.
void KeyValueFile(std::string_view input)
{
    static FolderFile file;
    const std::string key = TakeLine(input).c_str(), value = TakeLine(input).c_str(); // cut at a NUL, as in C
    file.Put(input);
    if (MLIBCFileSetKeyValue(file.Path(), key.c_str(), value.c_str(), 0) != 0) {
        MERO_REQUIRE(MLIBCErrGet() == MLIBC_ERR_INVALID_ARGUMENT && file.Text() == input);
        return;
    }
    auto settings = SettingsOf(input);
    settings[std::nullopt][key] = value;
    MERO_REQUIRE(SettingsOf(file.Text()) == settings);
    char start[5];
    MERO_REQUIRE(MLIBCFileGetKeyValue(file.Path(), key.c_str(), start, sizeof start, 0) == 0);
    MERO_REQUIRE(start == value.substr(0, 4));
}

/// A section, a key, its value, and the text of the file to add them to.
void SectionFile(std::string_view input)
{
    static FolderFile file;
    const std::string section = TakeLine(input).c_str(), key = TakeLine(input).c_str(), value = TakeLine(input).c_str();
    file.Put(input);
    const std::unique_ptr<MLIBCSzHash, void (*)(MLIBCSzHash*)> hash(MLIBCSzHashAlloc(0), MLIBCSzHashFree);
    MERO_REQUIRE(MLIBCSzHashSetValue(hash.get(), key.c_str(), value.c_str()) == 0);
    if (MLIBCFileAddSection(file.Path(), section.c_str(), hash.get(), 0) != 0) {
        MERO_REQUIRE(MLIBCErrGet() == MLIBC_ERR_INVALID_ARGUMENT && file.Text() == input);
        return;
    }
    auto settings = SettingsOf(input);
    settings[section] = {{key, value}};
    MERO_REQUIRE(SettingsOf(file.Text()) == settings);
}

/// A target, and the text of a state file.
void IsolateStateFile(std::string_view input)
{
    using namespace MERO::Systemd;
    static FolderFile file;
    const std::string target = TakeLine(input).c_str();
    file.Put(input);
    IsolateState state;
    MERO_REQUIRE((ReadIsolateState(file.Path(), state) == IsolateStateReading::Done) == state.isolating);
    MERO_REQUIRE(state.target.size() < 64 && Holds(input, state.target));
    if (MLIBCFileSetKeyValue(file.Path(), kIsolateStatePid, std::to_string(getpid()).c_str(), 0) == 0 &&
        MLIBCFileSetKeyValue(file.Path(), kIsolateStateTarget, target.c_str(), 0) == 0) {
        MERO_REQUIRE(ReadIsolateState(file.Path(), state) == IsolateStateReading::Done);
        MERO_REQUIRE(state.isolating && state.target == target.substr(0, 63));
    }
}

} // namespace

MERO_FUZZ(IniText, KeyValueFile, SectionFile, IsolateStateFile)
