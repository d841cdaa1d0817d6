#include "fuzzer.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

/// Found before the C library's: the messages are made, and nothing is logged.
extern "C" void vsyslog(int, const char* format, va_list values)
{
    char message[1024];
    std::vsnprintf(message, sizeof message, format, values);
}

/// Undefined behaviour is a finding like any other.
extern "C" const char* __ubsan_default_options()
{
    return "halt_on_error=1:print_stacktrace=1";
}

namespace MERO::Fuzz {
int Choose(std::span<Parser* const> parsers, const std::uint8_t* data, std::size_t size)
{
    if (size > 0) {
        parsers[(data[0] + 256U - '0') % parsers.size()]({reinterpret_cast<const char*>(data) + 1, size - 1});
    }
    return 0;
}

void Fail(const char* condition, const char* file, int line)
{
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

std::string TakeLine(std::string_view& input)
{
    const std::size_t end = std::min(input.find('\n'), input.size());
    std::string line(input.substr(0, end));
    input.remove_prefix(std::min(end + 1, input.size()));
    return line;
}

std::vector<std::string> Lines(std::string_view text)
{
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.emplace_back(text.substr(0, size));
        text.remove_prefix(size);
    }
    return lines;
}

std::string_view Trim(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\n\v\f\r";
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

bool Holds(std::string_view whole, std::string_view part)
{
    return whole.find(part) != whole.npos;
}

FolderFile::FolderFile() : path_(std::filesystem::temp_directory_path() / "fuzz.XXXXXX")
{
    if (mkdtemp(path_.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), path_);
    }
    path_ += "/file";
}

void FolderFile::Put(std::string_view text) const
{
    std::ofstream(path_, std::ios::trunc) << text;
}

std::string FolderFile::Text() const
{
    std::ifstream file(path_);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace MERO::Fuzz
