#include "support/machine.h"

#include <merobootseq/bootseq.h>
#include <merocore/error.h>
#include <merocore/file.h>
#include <merocore/list.h>
#include <merocore/string.h>
#include <merocore/support.h>

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <memory>
#include <optional>
#include <thread>
#include <tuple>

using namespace MERO::Test;
using ::testing::UnorderedElementsAre;

namespace {

constexpr const char* kFile = "/run/etc/a.conf";
constexpr std::nullopt_t none = std::nullopt;

/// Reads a key of kFile: from a section, or from the lines before the first one.
int GetValue(const std::optional<std::string>& section, const std::string& key, char* value, int size)
{
    return section ? MLIBCFileGetSectionValue(kFile, section->c_str(), key.c_str(), value, size)
                   : MLIBCFileGetKeyValue(kFile, key.c_str(), value, size, 0);
}

std::optional<std::string> Value(const std::optional<std::string>& section, const std::string& key)
{
    char value[8192] = "untouched";
    if (GetValue(section, key, value, sizeof value) == 0) {
        return value;
    }
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_NOT_FOUND);
    EXPECT_STREQ(value, "untouched");
    return none;
}

int SetValue(const std::string& key, const std::string& value, const char* path = kFile)
{
    return MLIBCFileSetKeyValue(path, key.c_str(), value.c_str(), 0);
}

/// Uses a hash, which copies its keys and values and keeps the last value of a key.
int AddSection(const std::string& section, std::vector<std::pair<std::string, std::string>> pairs)
{
    const std::unique_ptr<MLIBCSzHash, void (*)(MLIBCSzHash*)> hash(MLIBCSzHashAlloc(-1), MLIBCSzHashFree);
    for (auto& [key, value] : pairs) {
        EXPECT_EQ(MLIBCSzHashSetValue(hash.get(), key.c_str(), "old"), 0);
        EXPECT_EQ(MLIBCSzHashSetValue(hash.get(), key.c_str(), value.c_str()), 0);
        std::ranges::fill(key, '-');
        std::ranges::fill(value, '-');
    }
    return MLIBCFileAddSection(kFile, section.c_str(), hash.get(), 0);
}

std::vector<std::string> Names(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    return names;
}

struct TextFiles : Machine {
    TextFiles() { fs::create_directory("/run/etc"); }
};

TEST_F(TextFiles, AKeyIsFoundInItsSection)
{
    const std::tuple<std::string, std::optional<std::string>, std::string, std::optional<std::string>> cases[] = {
        {"a=1\nb=2", none, "b", "2"},
        {" \ta \t=\t 1 \t\n", none, "a", "1"},
        {"a=1\r\nb=\r\n", none, "a", "1"},
        {"a=1\r\nb=\r\n", none, "b", ""},
        {"#a=1\n;a=2\n \t# a=3\n", none, "a", none},
        {"a=1 # 2 ; 3\n", none, "a", "1 # 2 ; 3"},
        {"a=1\nb=2\na=3\n", none, "a", "3"},
        {"a=b=c=\n", none, "a", "b=c="},
        {"=1\n = 2\n", none, "", none},
        {"a\nab=1\nA=2\nb=a=3\n", none, "a", none},
        {"a=S\n[S]\na=2\n", "S", "a", "2"},
        {"[S]\na=1\n", none, "a", none},
        {"[S]\na=1\n[T]\nb=2\n", "S", "b", none},
        {"[S]\na=1\n[T]\na=2\n[S]\na=3\n", "S", "a", "3"},
        {"[s]\na=1\n[SS]\na=2\n[S] b\na=3\n", "S", "a", none},
        {" [S]\t\r\na=1\n", "S", "a", "1"},
        {"[S]\n[T\n[T] b\na=1\n", "S", "a", "1"}, // these are no headers
    };
    for (const auto& [text, section, key, value] : cases) {
        Write(kFile, text);
        EXPECT_EQ(Value(section, key), value) << text << section.value_or("-") << " " << key;
    }
}

TEST_F(TextFiles, AValueIsCutToItsBuffer)
{
    Write(kFile, "a=12345\n[S]\na=12345\n");
    for (const auto& [size, expected] : {std::pair(6, "12345\0~"), {5, "1234\0~~"}, {1, "\0~~~~~~"}, {0, "~~~~~~~"}}) {
        for (const auto& section : {std::optional<std::string>(), {"S"}}) {
            std::string value(7, '~');
            EXPECT_EQ(GetValue(section, "a", value.data(), size), size == 0 ? -1 : 0);
            EXPECT_EQ(value, std::string(expected, 7));
        }
    }
}

TEST_F(TextFiles, NullArgumentsAndFlagsAreRefused)
{
    const auto refused = [](int result) {
        const bool isRefused = result < 0 && MLIBCErrGet() == MLIBC_ERR_INVALID_ARGUMENT;
        return MLIBCErrSetEx(0, "", 0), isRefused;
    };
    const std::unique_ptr<MLIBCSzHash, void (*)(MLIBCSzHash*)> owner(MLIBCSzHashAlloc(0), MLIBCSzHashFree);
    MLIBCSzHash* const hash = owner.get();
    MLIBCSzList* list = nullptr;
    char buffer[8];
    for (const int bad : {0, 1, 2, 3}) { // the path, the key, the text, the flags
        const char *path = bad == 0 ? nullptr : kFile, *key = bad == 1 ? nullptr : "a",
                   *text = bad == 2 ? nullptr : "b";
        EXPECT_TRUE(refused(MLIBCFileGetKeyValue(path, key, text != nullptr ? buffer : nullptr, 8, bad == 3)) &&
                    refused(MLIBCFileSetKeyValue(path, key, text, bad == 3)) &&
                    refused(MLIBCFileAddSection(path, key, text != nullptr ? hash : nullptr, bad == 3)) &&
                    (bad == 3 || refused(MLIBCSzHashSetValue(path != nullptr ? hash : nullptr, key, text))))
            << bad;
    }
    EXPECT_TRUE(refused(MLIBCFileGetSectionValue(kFile, nullptr, "a", buffer, 8)) && refused(MLIBCFileTouch(nullptr)) &&
                refused(MLIBCSzListPush(nullptr, "a")) && refused(MLIBCSzListPush(&list, "a")) &&
                refused(MLIBCStrSnprintf(nullptr, 8, "a")));
}

TEST_F(TextFiles, UnreadableFilesAreRefusedAndLeftAlone)
{
    Write("/run/etc/large", "a=1\n");
    fs::resize_file("/run/etc/large", (16 << 20) + 1);
    mkfifo("/run/etc/fifo", 0600);
    const std::tuple<const char*, int, int> cases[] = {
        {"/run/etc/none/a", MLIBC_ERR_OPEN_FILE, MLIBC_ERR_WRITE_FILE},
        {"/run/etc", MLIBC_ERR_READ_FILE, MLIBC_ERR_READ_FILE},
        {"/run/etc/fifo", MLIBC_ERR_READ_FILE, MLIBC_ERR_READ_FILE},
        {"/run/etc/large", MLIBC_ERR_READ_FILE, MLIBC_ERR_READ_FILE},
    };
    for (const auto& [path, reading, writing] : cases) {
        SCOPED_TRACE(path);
        char value[] = "~";
        EXPECT_LT(MLIBCFileGetKeyValue(path, "a", value, sizeof value, 0), 0);
        EXPECT_EQ(MLIBCErrGet(), reading);
        EXPECT_LT(SetValue("a", "1", path), 0);
        EXPECT_EQ(MLIBCErrGet(), writing);
    }
    EXPECT_LT(MLIBCFileTouch("/run/etc/fifo"), 0);
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_OPEN_FILE);
    EXPECT_LT(MLIBCFileCheckDir("/run/etc/large"), 0);
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_OPEN_DIRECTORY);
    EXPECT_THAT(Names("/run/etc"), UnorderedElementsAre("fifo", "large"));
}

TEST_F(TextFiles, SettingAKeyLeavesTheOtherLines)
{
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"", "1", "a=1\n"},
        {"b=2", "1", "b=2\na=1\n"},
        {"b=2\na=1", "", "b=2\na=\n"},
        {"# c\n\n;d\n a = 1 \nrubbish\n", "2", "# c\n\n;d\na=2\nrubbish\n"},
        {"a=1\r\nb=2\r\n", "9", "a=9\nb=2\r\n"},
        {"a=1\nb=2\na=3\n", "9", "a=1\nb=2\na=9\n"},
        {"b=1\n[S]\na=1", "2", "b=1\na=2\n[S]\na=1"},
    };
    for (const auto& [before, value, after] : cases) {
        Write(kFile, before);
        EXPECT_EQ(SetValue("a", value), 0);
        EXPECT_EQ(Read(kFile), after) << "from: " << before;
    }
}

TEST_F(TextFiles, ASectionIsReplacedWholeOrAddedAtTheEnd)
{
    const std::string written = "[S]\na=1\nb=\n";
    const std::pair<std::string, std::string> cases[] = {
        {"", written},
        {"x=1", "x=1\n\n" + written},
        {"x=1\n[S]\nold=1\n\n[T]\ny=1", "x=1\n" + written + "\n[T]\ny=1"},
        {"[S]\nold=1\n[T]\ny=1\n[S]\nolder=1\n[U]\n", written + "\n[T]\ny=1\n\n[U]\n"},
        {"# [S]\n[s]\n", "# [S]\n[s]\n\n" + written},
    };
    for (const auto& [before, after] : cases) {
        Write(kFile, before);
        EXPECT_EQ(AddSection("S", {{"b", ""}, {"a", "1"}}), 0);
        EXPECT_EQ(Read(kFile), after) << "from: " << before;
    }
    fs::permissions(kFile, fs::perms(0751));
    EXPECT_EQ(AddSection("T", {}), 0);
    EXPECT_EQ(fs::status(kFile).permissions(), fs::perms(0751));
    EXPECT_THAT(Names("/run/etc"), UnorderedElementsAre("a.conf"));
}

TEST_F(TextFiles, TextsThatWouldNotReadBackAreRefused)
{
    const std::string text = " a = 1\r\n\n[S]\nb=2";
    Write(kFile, text);
    const std::pair<std::string, std::string> cases[] = {
        {"", "1"},   {"a=b", "1"}, {"a\nb", "1"}, {"#a", "1"}, {";a", "1"},  {"[a", "1"},
        {" a", "1"}, {"a\r", "1"}, {"a", "1\n"},  {"a", " 1"}, {"a", "1\r"},
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
    EXPECT_LT(SetValue("a", std::string(16 << 20, 'x')), 0) << "the file would be too large to be read";
    EXPECT_EQ(Read(kFile), text);
}

TEST_F(TextFiles, AreTouchedAndFound)
{
    EXPECT_EQ(MLIBCFileTouch("/run/a"), 0);
    Write("/run/a", "text");
    fs::last_write_time("/run/a", fs::file_time_type::clock::now() - std::chrono::hours(1));
    EXPECT_EQ(MLIBCFileTouch("/run/a"), 0);
    EXPECT_GT(fs::last_write_time("/run/a"), fs::file_time_type::clock::now() - std::chrono::minutes(1));
    EXPECT_EQ(Read("/run/a"), "text");
    EXPECT_TRUE(MLIBCFileExist("/run/a") == 1 && MLIBCFileExist("/run/none") == 0 && MLIBCFileCheckDir("/run") == 0);
    EXPECT_EQ(std::system("mkdir /run/2065 && touch -d @3000000000 /run/2065") + MLIBCFileCheckDir("/run/2065"), 0);
}

TEST_F(TextFiles, HoldCapabilitiesAndTheBootStep)
{
    EXPECT_EQ(MLIBCSupportGet("a"), 0) << "no file";
    for (const std::string text : {"a=no\n", "a=YES\n", "a=yes yes\n", "a=ye\n", "b=yes\n", "a = yes \r\n"}) {
        Write("/usr/mero/etc/support.conf", text);
        EXPECT_EQ(MLIBCSupportGet("a"), text.ends_with("yes \r\n") ? 1 : 0) << text;
    }
    EXPECT_LT(MEROSystemGetBootStep(), 0) << "no file";
    const std::pair<std::string, int> steps[] = {
        {"5\n", 5}, {"0", 0},     {"120 \r\n", 120}, {"-1\n", -1},         {"", -1},
        {"x", -1},  {"5x\n", -1}, {"5 6\n", -1},     {"2147483648\n", -1}, {std::string(40, '0') + "5", -1},
    };
    for (const auto& [text, step] : steps) {
        Write("/run/merobootseq/boot-step", text);
        EXPECT_EQ(MEROSystemGetBootStep(), step) << text;
    }
}

TEST(ErrorRegister, BelongsToItsThread)
{
    MLIBCErrSetEx(7, "mine.cpp", 70);
    std::jthread([] {
        EXPECT_EQ(MLIBCErrGet(), 0);
        MLIBCErrSetEx(8, "other.cpp", 80);
    }).join();
    EXPECT_TRUE(MLIBCErrGet() == 7 && MLIBCErrorGetLine() == 70);
    EXPECT_STREQ(MLIBCErrorGetFile(), "mine");
    MLIBCErrSetEx(7, ("/a/b.d/" + std::string(64, 'x') + ".cpp").c_str(), 70);
    EXPECT_EQ(MLIBCErrorGetFile(), std::string(63, 'x'));
}

TEST(Texts, FillListsAndBuffersAsFarAsTheyFit)
{
    const std::unique_ptr<MLIBCSzList, void (*)(MLIBCSzList*)> owner(MLIBCSzListAlloc(), MLIBCSzListFree);
    MLIBCSzList* list = owner.get();
    for (int i = 0; i < 1'024; ++i) { // the list is then full
        ASSERT_EQ(MLIBCSzListPush(&list, i == 500 ? nullptr : std::to_string(i).c_str()), 0);
    }
    EXPECT_EQ(MLIBCSzListCount(list), 1'024);
    for (const int index : {-1, 1'024, 500}) {
        EXPECT_EQ(MLIBCSzListGet(list, index), nullptr) << index;
    }
    EXPECT_STREQ(MLIBCSzListGet(list, 0), "0");
    EXPECT_STREQ(MLIBCSzListGet(list, 1'023), "1023");

    char buffer[6];
    EXPECT_EQ(MLIBCStrSnprintf(buffer, 6, "%s %d", "ab", 12), 0);
    EXPECT_LT(MLIBCStrSnprintf(buffer, 5, "%s %d", "ab", 12), 0);
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_BUFFER_TOO_SMALL);
    EXPECT_STREQ(buffer, "ab 1");
}

} // namespace
