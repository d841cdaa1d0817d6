#include "core/text_reader.h"

#include <gtest/gtest.h>

#include <fcntl.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

using MERO::Systemd::TextReader;

TEST(TextReader, HandsOutWholeLinesOfAnyFile)
{
    const std::string path = std::filesystem::temp_directory_path() / ("lines." + std::to_string(getpid()));
    std::string many;
    for (int i = 0; i < 50'000; ++i) {
        many += "line " + std::to_string(i) + "\n";
    }
    const std::string texts[] = {"",
                                 "\n",
                                 "end",
                                 "a\nb\n",
                                 "a\nend",
                                 many,
                                 many + "end", // longer than the buffer
                                 std::string(300'000, 'x'),
                                 "a\n" + std::string(200'000, 'x') + "\nend"};
    TextReader reader;
    for (const std::string& text : texts) {
        std::ofstream(path, std::ios::trunc) << text;
        std::string seen;
        EXPECT_TRUE(reader.ReadLines(AT_FDCWD, path.c_str(), [&](std::string_view lines) {
            seen += lines;
            EXPECT_TRUE(lines.ends_with('\n') || seen.size() == text.size());
            return !lines.empty();
        }));
        EXPECT_TRUE(seen == text && reader.Read(AT_FDCWD, path.c_str()) == text) << text.substr(0, 20);
    }
    int pieces = 0;
    EXPECT_TRUE(reader.ReadLines(AT_FDCWD, path.c_str(), [&](std::string_view) { return ++pieces < 1; }) &&
                pieces == 1);
    std::filesystem::remove(path);
    EXPECT_FALSE(reader.ReadLines(AT_FDCWD, path.c_str(), [](std::string_view) { return true; }) || errno != ENOENT);
    EXPECT_FALSE(reader.ReadLines(AT_FDCWD, "/", [](std::string_view) { return true; }) || errno != EISDIR);
}

} // namespace
