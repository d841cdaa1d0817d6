#include "ini_file.h"

#include <algorithm>

namespace MERO::Core {
namespace {

/// isspace() of the C locale, whatever locale the host process has set.
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

/// Returns the first character after leading blanks; NUL if there is none.
char FirstCharacter(std::string_view text)
{
    const auto first = std::find_if_not(text.begin(), text.end(), IsBlank);
    return first == text.end() ? '\0' : *first;
}

/// The size of the first line, with its newline if it has one. `text` must not be empty.
std::size_t FirstLineSize(std::string_view text)
{
    return std::min(text.find('\n'), text.size() - 1) + 1;
}

/// Returns what follows the section's first header line. Searching for the header skips the other sections without
/// parsing their lines.
std::string_view AfterHeader(std::string_view text, std::string_view section)
{
    for (std::size_t name = 1; (name = text.find(section, name)) != text.npos; ++name) {
        std::size_t start = name - 1;
        std::size_t end = name + section.size();
        if (text[start] != '[' || end == text.size() || text[end] != ']') {
            continue;
        }
        while (start > 0 && text[start - 1] != '\n' && IsBlank(text[start - 1])) {
            --start;
        }
        for (++end; end < text.size() && text[end] != '\n' && IsBlank(text[end]);) {
            ++end;
        }
        if ((start == 0 || text[start - 1] == '\n') && (end == text.size() || text[end] == '\n')) {
            return text.substr(std::min(end + 1, text.size()));
        }
    }
    return {};
}

IniLine ParseIniLine(std::string_view whole)
{
    IniLine line{IniLine::Kind::Other, whole, {}, {}};
    const std::string_view content = Trim(whole);
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

} // namespace

IniLine TakeIniLine(std::string_view& text)
{
    const IniLine line = ParseIniLine(text.substr(0, FirstLineSize(text)));
    text.remove_prefix(line.whole.size());
    return line;
}

std::optional<std::string_view> FindIniValue(std::string_view text, std::optional<std::string_view> section,
                                             std::string_view key)
{
    if (section) {
        if (section->find('\n') != section->npos) {
            return std::nullopt; // no header can contain it
        }
        text = AfterHeader(text, *section);
    }
    std::optional<std::string_view> found;
    while (!text.empty()) {
        const std::string_view whole = text.substr(0, FirstLineSize(text));
        text.remove_prefix(whole.size());
        const char first = FirstCharacter(whole);
        if (first != '[' && !key.starts_with(first)) {
            continue; // skips most lines without parsing them
        }
        const IniLine line = ParseIniLine(whole);
        if (line.kind == IniLine::Kind::Pair && line.name == key) {
            found = line.value;
        } else if (line.kind == IniLine::Kind::Header && line.name != section) {
            text = section ? AfterHeader(text, *section) : std::string_view();
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
    return !key.empty() && key.find_first_of("=\n") == key.npos && key == Trim(key) && key.find_first_of("#;[") != 0 &&
           value == Trim(value) && value.find('\n') == value.npos;
}

} // namespace MERO::Core
