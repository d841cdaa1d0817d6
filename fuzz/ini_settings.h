#pragma once

#include "ini_file.h"

#include <map>
#include <optional>
#include <string>

namespace MERO::Fuzz {

using Keys = std::map<std::string, std::string>;

/// All that a text sets, by section; without one, what stands before the first header.
inline std::map<std::optional<std::string>, Keys> SettingsOf(std::string_view text)
{
    std::map<std::optional<std::string>, Keys> settings;
    std::optional<std::string> section;
    while (!text.empty()) {
        const Core::IniLine line = Core::TakeIniLine(text);
        if (line.kind == Core::IniLine::Kind::Header) {
            section = line.name;
        } else if (line.kind == Core::IniLine::Kind::Pair) {
            settings[section][std::string(line.name)] = line.value;
        }
    }
    return settings;
}

} // namespace MERO::Fuzz
