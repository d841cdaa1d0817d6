#include "volume/kernel_table.h"

#include <algorithm>

namespace MERO::Systemd {
namespace {

bool IsOctal(char character)
{
    return character >= '0' && character <= '7';
}

std::string Unescape(std::string_view text)
{
    std::string plain;
    while (!text.empty()) {
        if (text.size() >= 4 && text[0] == '\\' && IsOctal(text[1]) && IsOctal(text[2]) && IsOctal(text[3])) {
            plain += static_cast<char>((text[1] - '0') * 64 + (text[2] - '0') * 8 + (text[3] - '0'));
            text.remove_prefix(4);
        } else {
            plain += text.front();
            text.remove_prefix(1);
        }
    }
    return plain;
}

/// What stands in a column of a line, whose columns any number of blanks part; empty where there is none.
std::string_view Field(std::string_view line, std::size_t column)
{
    constexpr const char* kBlanks = " \t";
    for (; column > 0; --column) {
        const std::size_t blank = std::min(line.find_first_of(kBlanks), line.size());
        line.remove_prefix(std::min(line.find_first_not_of(kBlanks, blank), line.size()));
    }
    return line.substr(0, line.find_first_of(kBlanks));
}

} // namespace

std::vector<std::string> PathsInColumn(std::string_view table, std::size_t column)
{
    std::vector<std::string> paths;
    while (!table.empty()) {
        const std::size_t end = std::min(table.find('\n'), table.size());
        const std::string_view field = Field(table.substr(0, end), column);
        if (field.starts_with('/')) {
            paths.push_back(Unescape(field));
        }
        table.remove_prefix(std::min(end + 1, table.size()));
    }
    return paths;
}

} // namespace MERO::Systemd
