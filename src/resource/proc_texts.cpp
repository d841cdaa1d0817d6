#include "resource/proc_texts.h"

#include "core/text.h"

#include <libgen.h>

#include <algorithm>
#include <charconv>

namespace MERO::Systemd {
namespace {

using Text = std::string_view;

constexpr int kSkippedFields = 13;    // of /proc/<pid>/stat, before utime and stime
constexpr int kProcessorCounters = 8; // of the line "cpu" of /proc/stat: user to steal

constexpr Text kBlanks = " \t\v\f\r"; // no newline: a number is on its key's line

Text Trim(Text text)
{
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text;
}

/// Skips blanks and takes an unsigned number off the text.
bool TakeNumber(Text& text, std::uint64_t& number)
{
    text = Trim(text);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc();
}

Text TakeLine(Text& text)
{
    const std::size_t end = text.find('\n');
    const Text line = text.substr(0, end);
    text.remove_prefix(std::min(end, text.size() - 1) + 1);
    return line;
}

/// Gets the number after `key` in a line that begins with `key`.
bool NumberOf(Text line, Text key, std::uint64_t& number)
{
    if (!line.starts_with(key)) {
        return false;
    }
    line.remove_prefix(key.size());
    return TakeNumber(line, number);
}

bool IsOctal(char character)
{
    return character >= '0' && character <= '7';
}

/// Returns one column of a line; columns are separated by any number of blanks. Empty if there is no such column.
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

std::string ScriptName(std::string_view line)
{
    std::string path(line.substr(0, line.find('\0')));
    const char* name = basename(path.data());
    return name != nullptr ? name : "(null)";
}

bool ProcessTicks(std::string_view line, std::uint64_t& user, std::uint64_t& system)
{
    // Fields end at blanks. A blank in the command's name shifts them: this is intended, callers get that answer.
    for (int field = 0; field < kSkippedFields; ++field) {
        line = Trim(line);
        line.remove_prefix(std::min(line.find_first_of(kBlanks), line.size()));
    }
    return TakeNumber(line, user) && TakeNumber(line, system);
}

bool ProcessorTicks(std::string_view line, std::uint64_t& total)
{
    if (!line.starts_with("cpu")) {
        return false;
    }
    line.remove_prefix(3);
    total = 0;
    for (int counter = 0; counter < kProcessorCounters; ++counter) {
        std::uint64_t ticks = 0;
        if (!TakeNumber(line, ticks)) {
            return false;
        }
        total += ticks;
    }
    return true;
}

std::uint64_t SumOfPss(std::string_view lines)
{
    // A mapping has more than twenty lines, and few of them hold a "P": searching for that letter is fastest.
    std::uint64_t sum = 0;
    for (std::size_t at = 0; (at = lines.find('P', at)) != lines.npos; ++at) {
        std::uint64_t value = 0;
        if ((at == 0 || lines[at - 1] == '\n') && NumberOf(lines.substr(at), "Pss:", value)) {
            sum += value;
        }
    }
    return sum;
}

bool IoBytes(std::string_view text, std::uint64_t& readBytes, std::uint64_t& writeBytes)
{
    bool hasRead = false;
    bool hasWrite = false;
    while (!text.empty()) {
        const Text line = TakeLine(text);
        hasRead = NumberOf(line, "read_bytes:", readBytes) || hasRead;
        hasWrite = NumberOf(line, "write_bytes:", writeBytes) || hasWrite;
    }
    return hasRead && hasWrite;
}

bool CgroupPathParse(const std::string& line, const std::string& controllers, std::string& path)
{
    std::vector<std::string> fields;
    if (!Split(line, fields, ":") || fields.size() != 3 || fields[1] != controllers) {
        return false;
    }
    path = fields[2];
    return true;
}

bool FindCgroupPath(std::string_view lines, const std::string& controllers, std::string& path)
{
    while (!lines.empty()) {
        const std::size_t end = lines.find('\n');
        if (CgroupPathParse(std::string(lines.substr(0, end)), controllers, path)) {
            return true;
        }
        lines.remove_prefix(end == lines.npos ? lines.size() : end + 1);
    }
    return false;
}

std::string UnitOfCgroup(const std::string& path)
{
    std::vector<std::string> folders;
    const bool isUnit = Split(path, folders, "/") && !folders.empty() && folders.back().find('.') != std::string::npos;
    return isUnit ? UnitOfFolder(folders.back()) : std::string();
}

std::string UnitOfFolder(const std::string& folder)
{
    return folder.starts_with('_') ? folder.substr(1) : folder;
}

std::string UnescapeOctal(std::string_view text)
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

std::vector<std::string> PathsInColumn(std::string_view table, std::size_t column)
{
    std::vector<std::string> paths;
    while (!table.empty()) {
        const std::size_t end = std::min(table.find('\n'), table.size());
        const std::string_view field = Field(table.substr(0, end), column);
        if (field.starts_with('/')) {
            paths.push_back(UnescapeOctal(field));
        }
        table.remove_prefix(std::min(end + 1, table.size()));
    }
    return paths;
}

} // namespace MERO::Systemd
