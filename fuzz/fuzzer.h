#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// What the fuzzers share. Each is a program of libFuzzer's for a family of texts: the first byte of its input chooses
/// the parser, the rest is the text. What must hold of an answer are its bounds, and that it is read back as written.
namespace MERO::Fuzz {

using Parser = void(std::string_view input);

/// Hands the rest of the input to the parser that its first byte names: "0" is the first.
int Choose(std::span<Parser* const> parsers, const std::uint8_t* data, std::size_t size);

/// Prints which condition does not hold, and aborts.
[[noreturn]] void Fail(const char* condition, const char* file, int line);

/// Takes the first line off the input, and returns it without its newline: what a parser needs besides its text.
std::string TakeLine(std::string_view& input);

/// The text's lines, with their newlines; the last one may lack it.
std::vector<std::string> Lines(std::string_view text);

/// Without the C locale's blanks at either end.
std::string_view Trim(std::string_view text);

/// Whether `part` is found in `whole`.
bool Holds(std::string_view whole, std::string_view part);

/// A file whose text each input replaces, in a folder that goes with the caller's TMPDIR.
class FolderFile {
public:
    FolderFile();
    void Put(std::string_view text) const;
    std::string Text() const;
    const char* Path() const { return path_.c_str(); }

private:
    std::string path_;
};

} // namespace MERO::Fuzz

/// The parsers of a program, in the order of their first bytes.
#define MERO_FUZZ(...)                                                                                                 \
    extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)                                  \
    {                                                                                                                  \
        static constexpr ::MERO::Fuzz::Parser* parsers[]{__VA_ARGS__};                                                 \
        return ::MERO::Fuzz::Choose(parsers, data, size);                                                              \
    }

/// Unlike assert, also in a release.
#define MERO_REQUIRE(condition) ((condition) ? void() : ::MERO::Fuzz::Fail(#condition, __FILE__, __LINE__))
