#include "ini_file.h"

#include <algorithm>

namespace MERO::Core {
namespace {

/// isspace() of the C locale, whatever the host's is.
constexpr bool IsBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string_view Trim(std::string_view text)
{
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

/// Of what Trim leaves; NUL for nothing.
char FirstCharacter(std::string_view text)
{
    const auto first = std::find_if_not(text.begin(), text.end(), IsBlank);
    return first == text.end() ? '\0' : *first;
}

} // namespace

IniLine TakeIniLine(std::string_view& text)
{
    const std::size_t newline = text.find('\n');
    IniLine line{IniLine::Kind::Other, text.substr(0, newline == text.npos ? newline : newline + 1), {}, {}};
    text.remove_prefix(line.whole.size());

    const std::string_view content = Trim(line.whole);
    if (content.empty() || content.front() == '#' || content.front() == ';') {
        return line;
    }
    if (content.front() == '[' && content.back() == ']') {
        line.kind = IniLine::Kind::Header;
        line.name = content.substr(1, content.size() - 2);
        return line;
    }
    const std::size_t equals = content.find('=');
    if (equals != content.npos && equals > 0) {
        line.kind = IniLine::Kind::Pair;
        line.name = Trim(content.substr(0, equals));
        line.value = Trim(content.substr(equals + 1));
    }
    return line;
}

std::optional<std::string_view> FindIniValue(std::string_view text, std::optional<std::string_view> section,
                                             std::string_view key)
{
    std::optional<std::string_view> found;
    bool inSection = !section;
    for (std::size_t size; !text.empty(); text.remove_prefix(size)) {
        size = std::min(text.find('\n'), text.size() - 1) + 1;
        const char first = FirstCharacter(text.substr(0, size));
        if (first != '[' && !(inSection && key.starts_with(first))) {
            continue; // most lines need no closer look
        }
        std::string_view rest = text;
        const IniLine line = TakeIniLine(rest);
        if (line.kind == IniLine::Kind::Header) {
            inSection = section == line.name;
        } else if (inSection && line.kind == IniLine::Kind::Pair && line.name == key) {
            found = line.value;
        }
    }
    return found;
}

bool IsIniSection(std::string_view section)
{
    return !section.empty() && section.find('\n') == section.npos;
}

bool IsIniPair(std::string_view key, std::string_view value)
{
    return !key.empty() && key.find_first_of("=\n") == key.npos && key == Trim(key) &&
           key.find_first_of("#;[") != 0 && value == Trim(value) && value.find('\n') == value.npos;
}

} // namespace MERO::Core
