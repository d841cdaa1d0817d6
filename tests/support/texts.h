#pragma once

#include <string>
#include <string_view>

namespace MERO::Test {

/// Returns `text` with each `from` replaced by `to`.
inline std::string Replaced(std::string text, std::string_view from, std::string_view to)
{
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

/// Turns "systemd_start:41 merosystemd: message" into "systemd_start: message".
inline std::string WithoutLineNumber(std::string line)
{
    const std::size_t mark = line.find(" merosystemd: ");
    const std::size_t number = mark == std::string::npos ? mark : line.rfind(':', mark);
    return number == std::string::npos ? line : line.erase(number, line.find(':', mark) - number);
}

} // namespace MERO::Test
