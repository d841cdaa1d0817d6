#include "fail.h"
#include "hash_table.h"
#include "ini_file.h"
#include "read_value.h"
#include "whole_file.h"

#include <merocore/file.h>

#include <algorithm>
#include <string>

using namespace MERO::Core;

namespace {

std::string SectionText(std::string_view section, const MLIBCSzHash& values)
{
    std::string text;
    text.append("[").append(section).append("]\n");
    for (const auto& [key, value] : values.texts) {
        text.append(key).append("=").append(value).append("\n");
    }
    return text;
}

/// Returns `text` without any section of this name, and with the new one in place of the first of them, or at the end.
std::string WithSection(std::string_view text, std::string_view section, const MLIBCSzHash& values)
{
    const std::string written = SectionText(section, values);
    std::string result;
    bool isWritten = false;
    bool inSection = false;
    for (std::string_view rest = text; !rest.empty();) {
        const IniLine line = TakeIniLine(rest);
        if (line.kind == IniLine::Kind::Header) {
            if (inSection) {
                result.append("\n");
            }
            inSection = line.name == section;
            if (inSection && !isWritten) {
                result.append(written);
                isWritten = true;
            }
        }
        if (!inSection) {
            result.append(line.whole);
        }
    }
    if (isWritten) {
        return result;
    }
    if (!result.empty()) {
        result.append(result.back() == '\n' ? "\n" : "\n\n");
    }
    return result.append(written);
}

} // namespace

int MLIBCFileGetSectionValue(const char* path, const char* section, const char* key, char* value, int cbValue)
{
    if (section == nullptr) {
        return MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
    }
    return ReadIniValue(path, section, key, value, cbValue);
}

int MLIBCFileAddSection(const char* path, const char* section, const MLIBCSzHash* values, int flags)
{
    if (path == nullptr || section == nullptr || values == nullptr || flags != 0 || !IsIniSection(section) ||
        !std::all_of(values->texts.begin(), values->texts.end(),
                     [](const auto& pair) { return IsIniPair(pair.first, pair.second); })) {
        return MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
    }
    return WithoutExceptions([&] {
        std::string text;
        if (ReadWholeFile(path, text, IfMissing::TakeAsEmpty) != 0) {
            return -1;
        }
        return WriteWholeFile(path, WithSection(text, section, *values));
    });
}
