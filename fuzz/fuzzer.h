#pragma once

#include <stdlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

/// Replaces the C library's vsyslog(): formats the message, but logs nothing.
extern "C" void vsyslog(int, const char* format, va_list values)
{
    char message[1024];
    std::vsnprintf(message, sizeof message, format, values);
}

/// Makes undefined behaviour a finding like any other.
extern "C" const char* __ubsan_default_options()
{
    return "halt_on_error=1:print_stacktrace=1";
}

/// Shared by the fuzzers. Each fuzzer is one libFuzzer program, of one source file, for a family of texts: the first
/// byte of the input chooses the parser ("0" is the first), the rest is the text. A parser's answer must stay within
/// its bounds, and what was written must read back the same.
namespace MERO::Fuzz {

using Parser = void(std::string_view input);

/// Takes the first line off the input and returns it without its newline: an argument for the parser.
inline std::string TakeLine(std::string_view& input)
{
    const std::size_t end = std::min(input.find('\n'), input.size());
    std::string line(input.substr(0, end));
    input.remove_prefix(std::min(end + 1, input.size()));
    return line;
}

/// Returns the text's lines with their newlines; the last line may have none.
inline std::vector<std::string> Lines(std::string_view text)
{
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.emplace_back(text.substr(0, size));
        text.remove_prefix(size);
    }
    return lines;
}

/// Removes the C locale's blanks from both ends.
inline std::string_view Trim(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\n\v\f\r";
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

inline bool Holds(std::string_view whole, std::string_view part)
{
    return whole.find(part) != whole.npos;
}

/// A file whose text each input replaces. Its folder is in TMPDIR, which the caller removes.
class FolderFile {
public:
    FolderFile() : path_(std::filesystem::temp_directory_path() / "fuzz.XXXXXX")
    {
        if (mkdtemp(path_.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), path_);
        }
        path_ += "/file";
    }
    void Put(std::string_view text) const { std::ofstream(path_, std::ios::trunc) << text; }
    std::string Text() const
    {
        std::ifstream file(path_);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    const char* Path() const { return path_.c_str(); }

private:
    std::string path_;
};

} // namespace MERO::Fuzz

#define MERO_FUZZ(...)                                                                                                 \
    extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)                                  \
    {                                                                                                                  \
        static constexpr ::MERO::Fuzz::Parser* parsers[]{__VA_ARGS__};                                                 \
        if (size > 0) {                                                                                                \
            parsers[(data[0] + 256U - '0') % std::size(parsers)]({reinterpret_cast<const char*>(data) + 1, size - 1}); \
        }                                                                                                              \
        return 0;                                                                                                      \
    }

/// Like assert, but also in release builds.
#define MERO_REQUIRE(condition)                                                                                        \
    ((condition) ? void() : (std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition), abort()))
