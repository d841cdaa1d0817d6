#include "fail.h"
#include "ini_file.h"
#include "read_value.h"
#include "whole_file.h"

#include <merocore/file.h>

#include <string>

using namespace MERO::Core;

namespace {

/// Returns `text` with the line that sets `key` replaced, or added before the first header.
std::string WithKey(std::string_view text, std::string_view key, std::string_view value)
{
    std::string setting;
    setting.append(key).append("=").append(value).append("\n");

    std::string_view replaced; // the last one: it is the one in effect
    std::string_view rest = text;
    std::size_t end = text.size();
    while (!rest.empty()) {
        const IniLine line = TakeIniLine(rest);
        if (line.kind == IniLine::Kind::Header) {
            end = static_cast<std::size_t>(line.whole.data() - text.data());
            break;
        }
        if (line.kind == IniLine::Kind::Pair && line.name == key) {
            replaced = line.whole;
        }
    }
    std::string result(text);
    if (replaced.data() != nullptr) {
        return result.replace(static_cast<std::size_t>(replaced.data() - text.data()), replaced.size(), setting);
    }
    if (end > 0 && text[end - 1] != '\n') {
        setting.insert(0, "\n");
    }
    return result.insert(end, setting);
}

} // namespace

int MLIBCFileGetKeyValue(const char* path, const char* key, char* value, int cbValue, int flags)
{
    return flags == 0 ? ReadIniValue(path, std::nullopt, key, value, cbValue) : MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
}

int MLIBCFileSetKeyValue(const char* path, const char* key, const char* value, int flags)
{
    if (path == nullptr || key == nullptr || value == nullptr || flags != 0 || !IsIniPair(key, value)) {
        return MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
    }
    return WithoutExceptions([&] {
        std::string text;
        if (ReadWholeFile(path, text, IfMissing::TakeAsEmpty) != 0) {
            return -1;
        }
        return WriteWholeFile(path, WithKey(text, key, value));
    });
}
