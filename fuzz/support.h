#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// What the targets share. Each is one file that names its function with MERO_FUZZ_TARGET.
namespace MERO::Fuzz {

using Target = void(std::string_view input);

/// The targets that this program was linked with.
std::map<std::string, Target*>& Targets();

struct Registration {
    Registration(const char* name, Target* target) { Targets()[name] = target; }
};

/// Says which condition does not hold, and aborts.
[[noreturn]] void Fail(const char* condition, const char* file, int line);

/// Takes the first line off the input, and returns it without its newline: what a target needs besides its text.
std::string TakeLine(std::string_view& input);

/// The text's lines, with their newlines; the last one may lack it.
std::vector<std::string> Lines(std::string_view text);

/// Without the C locale's blanks at either end.
std::string_view Trim(std::string_view text);

/// Whether `part` is found in `whole`.
bool Holds(std::string_view whole, std::string_view part);

/// A file in memory whose text each input replaces, for what only reads.
class MemoryFile {
public:
    MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile();

    void Put(std::string_view text);
    const char* Path() const { return path_.c_str(); }

private:
    int file_;
    std::string path_;
};

/// A file in a folder of its own, for what replaces it.
class FolderFile {
public:
    FolderFile();
    FolderFile(const FolderFile&) = delete;
    FolderFile& operator=(const FolderFile&) = delete;
    ~FolderFile();

    void Put(std::string_view text);
    void Remove();
    std::string Text() const;
    const char* Path() const { return path_.c_str(); }

private:
    std::filesystem::path folder_;
    std::filesystem::path path_;
};

} // namespace MERO::Fuzz

#define MERO_FUZZ_TARGET(name)                                                                                         \
    static void FuzzOne(std::string_view input);                                                                       \
    static const ::MERO::Fuzz::Registration registration(#name, FuzzOne);                                              \
    static void FuzzOne(std::string_view input)

/// Unlike assert, also in a release.
#define MERO_REQUIRE(condition) ((condition) ? void() : ::MERO::Fuzz::Fail(#condition, __FILE__, __LINE__))
