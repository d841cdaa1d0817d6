#include "support/machine.h"

#include <merocore/error.h>
#include <merocore/file.h>

#include <gmock/gmock.h>

#include <sys/mount.h>
#include <sys/stat.h>

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <thread>
#include <tuple>

using namespace MERO::Test;
using ::testing::ElementsAre;

namespace {

namespace fs = std::filesystem;

constexpr const char* kFile = "/run/etc/a.conf";

using Pairs = std::map<std::string, std::string>;

/// The value of a key in kFile, of a section or of the lines before the first one.
std::optional<std::string> Value(const std::optional<std::string>& section, const std::string& key)
{
    char value[8192] = "untouched";
    if ((section ? MLIBCFileGetSectionValue(kFile, section->c_str(), key.c_str(), value, sizeof value)
                 : MLIBCFileGetKeyValue(kFile, key.c_str(), value, sizeof value, 0)) == 0) {
        return value;
    }
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_NOT_FOUND);
    EXPECT_STREQ(value, "untouched");
    return std::nullopt;
}

int SetValue(const std::string& key, const std::string& value, const char* path = kFile)
{
    return MLIBCFileSetKeyValue(path, key.c_str(), value.c_str(), 0);
}

int AddSection(const std::string& section, const Pairs& pairs, const char* path = kFile)
{
    const std::unique_ptr<MLIBCSzHash, void (*)(MLIBCSzHash*)> hash(MLIBCSzHashAlloc(512), MLIBCSzHashFree);
    for (const auto& [key, value] : pairs) {
        EXPECT_EQ(MLIBCSzHashSetValue(hash.get(), key.c_str(), value.c_str()), 0);
    }
    return MLIBCFileAddSection(path, section.c_str(), hash.get(), 0);
}

std::set<std::string> Names(const fs::path& folder)
{
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename());
    }
    return names;
}

class TextFiles : public Machine {
protected:
    TextFiles() { fs::create_directory("/run/etc"); }
};

TEST_F(TextFiles, AKeyIsFoundInItsSection)
{
    constexpr std::nullopt_t none = std::nullopt;
    struct Case {
        std::string text;
        std::optional<std::string> section;
        std::string key;
        std::optional<std::string> value;
    };
    const Case cases[] = {
        {"a=1\nb=2\n", none, "b", "2"},
        {"a=1", none, "a", "1"},
        {" \ta \t=\t 1 \t\n", none, "a", "1"},
        {"a=1\r\nb=\r\n", none, "a", "1"},
        {"a=1\r\nb=\r\n", none, "b", ""},
        {"#a=1\n;a=2\n \t# a=3\n", none, "a", none},
        {"#a=1\n;b=2\n", none, "#a", none},
        {"#a=1\n;b=2\n", none, ";b", none},
        {"a=1 # 2 ; 3\n", none, "a", "1 # 2 ; 3"},
        {"a=1\nb=2\na=3\n", none, "a", "3"},
        {"a=1\na=\n", none, "a", ""},
        {"a= \t", none, "a", ""},
        {"a=b=c=\n", none, "a", "b=c="},
        {"a b = c d\n", none, "a b", "c d"},
        {"=1\n = 2\n", none, "", none},
        {"a\nab=1\nA=2\nb=a=3\n", none, "a", none},
        {"", none, "a", none},
        {"\n\r\n \n", none, "a", none},
        {"a=1\n[S]\na=2\n", none, "a", "1"},
        {"a=1\n[S]\na=2\n", "S", "a", "2"},
        {"[S]\na=1\n", none, "a", none},
        {"a=1\n[S]\nb=2\n", "S", "a", none},
        {"[S]\na=1\n[T]\nb=2\n", "S", "b", none},
        {"[S]\na=1\n[T]\nb=2\n", "T", "a", none},
        {"[S]\na=1\n[T]\na=2\n[S]\nb=3\n", "S", "a", "1"},
        {"[S]\na=1\n[T]\na=2\n[S]\na=3\n", "S", "a", "3"},
        {"[s]\na=1\n[SS]\na=2\n", "S", "a", none},
        {" [S]\t\r\na=1\n", "S", "a", "1"},
        {"#[S]\na=1\n", "S", "a", none},
        {"[S]\n[T\na=1\n", "S", "a", "1"}, // no header
        {"[S]\n[T] b\na=1\n", "S", "a", "1"},
        {"[S]\na=1\n[]\na=2\n", "S", "a", "1"},
        {"[]\na=1\n[", none, "a", none},
        {"[S]\na=[T]\nb=1\n", "S", "b", "1"},
    };
    for (const Case& c : cases) {
        Write(kFile, c.text);
        EXPECT_EQ(Value(c.section, c.key), c.value) << c.text << c.section.value_or("-") << " " << c.key;
    }
}

TEST_F(TextFiles, AValueIsCutToItsBuffer)
{
    Write(kFile, "a=12345\n[S]\na=12345\n");
    const std::pair<int, std::string> cases[] = {{7, "12345"}, {6, "12345"}, {5, "1234"}, {2, "1"}, {1, ""}};
    for (const auto& [size, expected] : cases) {
        char value[] = "~~~~~~~";
        EXPECT_EQ(MLIBCFileGetKeyValue(kFile, "a", value, size, 0), 0);
        EXPECT_EQ(value, expected);
        EXPECT_EQ(std::string(value + size), std::string(7 - static_cast<std::size_t>(size), '~'));
        EXPECT_EQ(MLIBCFileGetSectionValue(kFile, "S", "a", value, size), 0);
        EXPECT_EQ(value, expected);
    }
    char value[] = "~";
    EXPECT_LT(MLIBCFileGetKeyValue(kFile, "a", value, 0, 0), 0);
    EXPECT_LT(MLIBCFileGetKeyValue(kFile, "a", value, -1, 0), 0);
    EXPECT_LT(MLIBCFileGetKeyValue(kFile, "a", value, 2, 1), 0);
    EXPECT_LT(MLIBCFileGetKeyValue(kFile, nullptr, value, 2, 0), 0);
    EXPECT_LT(MLIBCFileGetKeyValue(nullptr, "a", value, 2, 0), 0);
    EXPECT_LT(MLIBCFileGetSectionValue(kFile, nullptr, "a", value, 2), 0);
    EXPECT_STREQ(value, "~");
}

TEST_F(TextFiles, WhatIsNoReadableFileIsRefusedAndLeftAlone)
{
    Write("/run/etc/plain", "x");
    Write("/run/etc/large", "a=1\n");
    fs::resize_file("/run/etc/large", (16 << 20) + 1);
    mkfifo("/run/etc/fifo", 0600);
    fs::create_symlink("loop", "/run/etc/loop");
    const std::set<std::string> before = Names("/run/etc");
    struct Case {
        const char* path;
        int reading, writing;
    };
    const Case cases[] = {
        {"/run/etc/none/a", MLIBC_ERR_OPEN_FILE, MLIBC_ERR_WRITE_FILE},
        {"/run/etc/plain/a", MLIBC_ERR_OPEN_FILE, MLIBC_ERR_OPEN_FILE},
        {"/run/etc/loop", MLIBC_ERR_OPEN_FILE, MLIBC_ERR_OPEN_FILE},
        {"/run/etc", MLIBC_ERR_READ_FILE, MLIBC_ERR_READ_FILE},
        {"/run/etc/fifo", MLIBC_ERR_READ_FILE, MLIBC_ERR_READ_FILE},
        {"/run/etc/large", MLIBC_ERR_READ_FILE, MLIBC_ERR_READ_FILE},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        char value[] = "~";
        EXPECT_LT(MLIBCFileGetKeyValue(c.path, "a", value, sizeof value, 0), 0);
        EXPECT_EQ(MLIBCErrGet(), c.reading);
        EXPECT_LT(MLIBCFileGetSectionValue(c.path, "S", "a", value, sizeof value), 0);
        EXPECT_EQ(MLIBCErrGet(), c.reading);
        EXPECT_STREQ(value, "~");
        EXPECT_LT(SetValue("a", "1", c.path), 0);
        EXPECT_EQ(MLIBCErrGet(), c.writing);
        EXPECT_LT(AddSection("S", {}, c.path), 0);
        EXPECT_EQ(MLIBCErrGet(), c.writing);
    }
    EXPECT_EQ(Names("/run/etc"), before);
    EXPECT_TRUE(fs::is_fifo("/run/etc/fifo") && fs::file_size("/run/etc/large") > 16 << 20);

    char value[2];
    fs::resize_file("/run/etc/large", 16 << 20);
    EXPECT_EQ(MLIBCFileGetKeyValue("/run/etc/large", "a", value, sizeof value, 0), 0);
}

TEST_F(TextFiles, SettingAKeyLeavesTheOtherLines)
{
    struct Case {
        std::string before, value, after;
    };
    const Case cases[] = {
        {"", "1", "a=1\n"},
        {"b=2\n", "1", "b=2\na=1\n"},
        {"b=2", "1", "b=2\na=1\n"},
        {"a=1\nb=2\n", "9", "a=9\nb=2\n"},
        {"b=2\na=1", "9", "b=2\na=9\n"},
        {"a=1\n", "", "a=\n"},
        {"# c\n\n;d\n a = 1 \nrubbish\n", "2", "# c\n\n;d\na=2\nrubbish\n"},
        {"#a=1\n", "2", "#a=1\na=2\n"},
        {"a=1\r\nb=2\r\n", "9", "a=9\nb=2\r\n"},
        {"a=1\nb=2\na=3\n", "9", "a=1\nb=2\na=9\n"},
        {"b=1\n[S]\na=1\n", "2", "b=1\na=2\n[S]\na=1\n"},
        {"[S]\na=1", "2", "a=2\n[S]\na=1"},
        {"a=0\n[S]\na=1\n", "2", "a=2\n[S]\na=1\n"},
    };
    for (const Case& c : cases) {
        Write(kFile, c.before);
        EXPECT_EQ(SetValue("a", c.value), 0);
        EXPECT_EQ(Read(kFile), c.after) << "from: " << c.before;
        EXPECT_EQ(Value(std::nullopt, "a"), c.value);
    }
}

TEST_F(TextFiles, ASectionIsReplacedWholeOrAddedAtTheEnd)
{
    const Pairs pairs{{"b", "2"}, {"a", "1"}};
    const std::string written = "[S]\na=1\nb=2\n";
    struct Case {
        std::string before, after;
    };
    const Case cases[] = {
        {"", written},
        {"x=1\n", "x=1\n\n" + written},
        {"x=1", "x=1\n\n" + written},
        {"[T]\nx=1\n", "[T]\nx=1\n\n" + written},
        {"[S]\nold=1\n", written},
        {"[S]", written},
        {"x=1\n[S]\nold=1\n\n[T]\ny=1", "x=1\n" + written + "\n[T]\ny=1"},
        {"[T]\ny=1\n[S]\r\nold=1\r\n", "[T]\ny=1\n" + written},
        {"[S]\nold=1\n[T]\ny=1\n[S]\nolder=1\n[U]\n", written + "\n[T]\ny=1\n\n[U]\n"},
        {"[S]\n[S]\n[SS]\n", written + "\n\n[SS]\n"},
        {"# [S]\n[s]\n", "# [S]\n[s]\n\n" + written},
    };
    for (const Case& c : cases) {
        Write(kFile, c.before);
        EXPECT_EQ(AddSection("S", pairs), 0);
        EXPECT_EQ(Read(kFile), c.after) << "from: " << c.before;
    }
    Write(kFile, "[T]\nx=1\n[S]\nold=1\n[U]\n");
    EXPECT_EQ(AddSection("S", {}), 0);
    EXPECT_EQ(Read(kFile), "[T]\nx=1\n[S]\n\n[U]\n");
    EXPECT_EQ(AddSection("S", {}), 0);
    EXPECT_EQ(Read(kFile), "[T]\nx=1\n[S]\n\n[U]\n") << "the same once more";
}

TEST_F(TextFiles, WhatWouldNotReadBackIsRefused)
{
    const std::string text = " a = 1\r\n\n[S]\nb=2";
    Write(kFile, text);
    const std::pair<std::string, std::string> cases[] = {
        {"", "1"},    {"a=b", "1"}, {"=", "1"},  {"a\nb", "1"}, {"a\n", "1"}, {"#a", "1"},     {";a", "1"},
        {"[a", "1"},  {"[a]", ""},  {" a", "1"}, {"a ", "1"},   {"\ta", "1"}, {"a", "1\nb=2"}, {"a\r", "1"},
        {"a", "1\n"}, {"a", "\n"},  {"a", " 1"}, {"a", "1 "},   {"a", "\t"},  {"a", "1\r"},    {"a", "\f1"},
    };
    for (const auto& [key, value] : cases) {
        SCOPED_TRACE(key + "=" + value);
        MLIBCErrSetEx(0, "", 0);
        EXPECT_LT(SetValue(key, value), 0);
        EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_INVALID_ARGUMENT);
        MLIBCErrSetEx(0, "", 0);
        EXPECT_LT(AddSection("S", {{"fine", "1"}, {key, value}}), 0);
        EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_INVALID_ARGUMENT);
    }
    EXPECT_LT(AddSection("", {}), 0);
    EXPECT_LT(AddSection("S\nb=3", {}), 0);
    EXPECT_LT(MLIBCFileAddSection(kFile, "S", nullptr, 0), 0);
    EXPECT_LT(MLIBCFileSetKeyValue(kFile, "a", nullptr, 0), 0);
    EXPECT_LT(MLIBCFileSetKeyValue(kFile, "a", "1", 1), 0);
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_INVALID_ARGUMENT);
    EXPECT_LT(SetValue("a", std::string(16 << 20, 'x')), 0) << "too large a file to be read";
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_WRITE_FILE);
    EXPECT_TRUE(Read(kFile) == text);
    EXPECT_THAT(Names("/run/etc"), ElementsAre("a.conf"));
}

TEST_F(TextFiles, WhatIsWrittenReadsBack)
{
    const std::string values[] = {"",  "=",    "a=b",   "#1",     ";1",       "[S]",  "]",
                                  "\\", "a\tb", "a\rb", "\"'\"", "\xff\xc3", "a  b", std::string(5000, 'x')};
    const std::string keys[] = {"a", "a b", "a#", "a;", "a[b]", "]", "a\tb", "a\rb", "\"", "\xff\xc3", "A"};
    Pairs pairs;
    for (const std::string& value : values) {
        for (const std::string& key : keys) {
            ASSERT_EQ(SetValue(key, value), 0) << key << "=" << value;
            ASSERT_EQ(Value(std::nullopt, key), value) << key;
            pairs[key] = values[pairs.size() % std::size(values)];
        }
    }
    const std::string sections[] = {"S", "s", "S S", "S]", "[S", "]", "[", "#S", "S=1", "\xff\xc3"};
    for (const std::string& section : sections) {
        ASSERT_EQ(AddSection(section, pairs), 0) << section;
    }
    for (const auto& [key, value] : pairs) {
        for (const std::string& section : sections) {
            EXPECT_EQ(Value(section, key), value) << section << " " << key;
        }
        EXPECT_EQ(Value(std::nullopt, key), std::string(5000, 'x')) << key;
    }
}

TEST_F(TextFiles, WritersKeepTheModeAndLeaveNoOtherFile)
{
    const mode_t umaskBefore = umask(027);
    EXPECT_EQ(SetValue("a", "1"), 0);
    umask(umaskBefore);
    EXPECT_EQ(fs::status(kFile).permissions(), fs::perms(0640)) << "a new file follows the umask";
    for (const unsigned mode : {0600U, 0666U, 0751U}) {
        fs::permissions(kFile, fs::perms(mode));
        EXPECT_EQ(SetValue("a", "2"), 0);
        EXPECT_EQ(AddSection("S", {{"a", "1"}}), 0);
        EXPECT_EQ(fs::status(kFile).permissions(), fs::perms(mode));
    }
    EXPECT_THAT(Names("/run/etc"), ElementsAre("a.conf"));
}

TEST_F(TextFiles, AFullDiskLeavesTheOldText)
{
    ASSERT_EQ(mount("tmpfs", "/run/etc", "tmpfs", 0, "size=64k"), 0);
    Write(kFile, "a=1\n");
    EXPECT_LT(SetValue("b", std::string(100'000, 'x')), 0);
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_WRITE_FILE);
    EXPECT_LT(AddSection("S", {{"b", std::string(100'000, 'x')}}), 0);
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_WRITE_FILE);
    EXPECT_EQ(Read(kFile), "a=1\n");
    EXPECT_THAT(Names("/run/etc"), ElementsAre("a.conf"));
    umount("/run/etc");
}

TEST_F(TextFiles, AReaderSeesTheOldOrTheNewText)
{
    const auto valueOf = [](char letter) { return std::string((letter - 'a' + 1) * 300UL, letter); };
    ASSERT_EQ(SetValue("a", valueOf('a')), 0);
    std::atomic<bool> isOver = false;
    std::jthread writer([&] {
        for (int i = 0; i < 300; ++i) {
            EXPECT_EQ(SetValue("a", valueOf(static_cast<char>('a' + i % 26))), 0);
        }
        isOver = true;
    });
    while (!isOver) {
        const std::string value = Value(std::nullopt, "a").value_or("");
        ASSERT_FALSE(value.empty());
        ASSERT_EQ(value, valueOf(value.front()));
    }
}

class Paths : public Machine {};

TEST_F(Paths, TouchCreatesAndSetsTheTimes)
{
    EXPECT_EQ(MLIBCFileTouch("/run/a"), 0);
    EXPECT_EQ(Read("/run/a"), "");
    Write("/run/a", "text");
    fs::last_write_time("/run/a", fs::file_time_type::clock::now() - std::chrono::hours(1));
    EXPECT_EQ(MLIBCFileTouch("/run/a"), 0);
    EXPECT_GT(fs::last_write_time("/run/a"), fs::file_time_type::clock::now() - std::chrono::minutes(1));
    EXPECT_EQ(Read("/run/a"), "text");

    mkfifo("/run/fifo", 0600);
    for (const char* path : {"/run/fifo", "/run/none/a", "/run/a/b"}) {
        MLIBCErrSetEx(0, "", 0);
        EXPECT_LT(MLIBCFileTouch(path), 0) << path;
        EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_OPEN_FILE) << path;
    }
    EXPECT_LT(MLIBCFileTouch(nullptr), 0);
}

TEST_F(Paths, ExistenceAndFolders)
{
    Write("/run/folder/file", "");
    fs::create_symlink("folder", "/run/link");
    fs::create_symlink("nowhere", "/run/dangling");
    const std::tuple<const char*, int, bool> cases[] = {
        {"/run/folder", 1, true}, {"/run/link", 1, true},      {"/run/folder/file", 1, false},
        {"/run/none", 0, false},  {"/run/dangling", 0, false}, {"/run/folder/file/x", 0, false},
        {"", 0, false},           {nullptr, 0, false},
    };
    for (const auto& [path, exists, isFolder] : cases) {
        MLIBCErrSetEx(0, "", 0);
        EXPECT_EQ(MLIBCFileExist(path), exists) << path;
        EXPECT_EQ(MLIBCFileCheckDir(path) == 0, isFolder) << path;
        EXPECT_EQ(MLIBCErrGet(), isFolder ? 0 : MLIBC_ERR_OPEN_DIRECTORY) << path;
    }
}

} // namespace
