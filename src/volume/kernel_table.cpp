#include "volume/kernel_table.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

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

} // namespace

std::vector<std::string> PathsInColumn(std::string_view table, std::size_t column)
{
    std::vector<std::string_view> lines;
    boost::algorithm::split(lines, table, boost::algorithm::is_any_of("\n"));
    std::vector<std::string> paths;
    for (const std::string_view line : lines) {
        std::vector<std::string> fields;
        boost::algorithm::split(fields, line, boost::algorithm::is_any_of(" \t"), boost::algorithm::token_compress_on);
        if (fields.size() > column && fields[column].starts_with('/')) {
            paths.push_back(Unescape(fields[column]));
        }
    }
    return paths;
}

} // namespace MERO::Systemd
