#include "support/machine.h"

#include <merobootseq/bootseq.h>
#include <merocore/error.h>
#include <merocore/file.h>
#include <merocore/hash.h>
#include <merocore/list.h>
#include <merocore/string.h>
#include <merocore/support.h>

#include <cstring>
#include <thread>
#include <tuple>

using namespace MERO::Test;

namespace {

TEST(ErrorRegister, KeepsTheNameOfTheFile)
{
    const std::pair<std::string, std::string> cases[] = {
        {"file.cpp", "file"},
        {"/a/b.d/file.cpp", "file"},
        {"/a/b.d/file", "file"},
        {"../file.tar.gz", "file.tar"},
        {"file", "file"},
        {"folder/", ""},
        {"", ""},
        {std::string(63, 'x') + ".cpp", std::string(63, 'x')},
        {"/a/" + std::string(64, 'x') + ".cpp", std::string(63, 'x')},
        {std::string(5000, 'x'), std::string(63, 'x')},
    };
    for (const auto& [path, name] : cases) {
        std::string passing = path;
        MLIBCErrSetEx(0x1234, passing.c_str(), 56);
        passing.assign(passing.size(), '-');
        EXPECT_EQ(MLIBCErrorGetFile(), name) << path;
        EXPECT_EQ(MLIBCErrGet(), 0x1234);
        EXPECT_EQ(MLIBCErrorGetLine(), 56);
    }
    MLIBCErrSetEx(1, nullptr, -1);
    EXPECT_STREQ(MLIBCErrorGetFile(), "");
}

TEST(ErrorRegister, BelongsToItsThread)
{
    MLIBCErrSetEx(7, "mine.cpp", 70);
    std::jthread([] {
        EXPECT_EQ(MLIBCErrGet(), 0);
        EXPECT_STREQ(MLIBCErrorGetFile(), "");
        EXPECT_EQ(MLIBCErrorGetLine(), 0);
        MLIBCErrSetEx(8, "other.cpp", 80);
    }).join();
    EXPECT_EQ(MLIBCErrGet(), 7);
    EXPECT_STREQ(MLIBCErrorGetFile(), "mine");
    EXPECT_EQ(MLIBCErrorGetLine(), 70);
}

TEST(List, GrowsAndKeepsItsItems)
{
    MLIBCSzList* list = MLIBCSzListAlloc();
    char text[16];
    for (int i = 0; i < 10'000; ++i) {
        std::snprintf(text, sizeof text, "item %d", i);
        ASSERT_EQ(MLIBCSzListPush(&list, i % 1000 == 999 ? nullptr : text), 0);
    }
    EXPECT_EQ(MLIBCSzListCount(list), 10'000);
    for (const int index : {-1, 10'000, 999, 9'999}) {
        EXPECT_EQ(MLIBCSzListGet(list, index), nullptr) << index;
    }
    EXPECT_STREQ(MLIBCSzListGet(list, 0), "item 0");
    EXPECT_STREQ(MLIBCSzListGet(list, 9'998), "item 9998");
    EXPECT_EQ(MLIBCSzListPush(&list, ""), 0);
    EXPECT_STREQ(MLIBCSzListGet(list, 10'000), "");
    MLIBCSzListFree(list);
}

TEST(List, NullHandlesAreHarmless)
{
    MLIBCSzList* none = nullptr;
    EXPECT_EQ(MLIBCSzListCount(none), 0);
    EXPECT_EQ(MLIBCSzListGet(none, 0), nullptr);
    EXPECT_LT(MLIBCSzListPush(nullptr, "x"), 0);
    EXPECT_LT(MLIBCSzListPush(&none, "x"), 0);
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_INVALID_ARGUMENT);
    MLIBCSzListFree(none);
}

class Texts : public Machine {};

TEST_F(Texts, AHashKeepsCopiesAndTheLastValue)
{
    MLIBCSzHash* hash = MLIBCSzHashAlloc(-1);
    char key[] = "key";
    char value[] = "old";
    EXPECT_EQ(MLIBCSzHashSetValue(hash, key, value), 0);
    std::memcpy(value, "new", 3);
    EXPECT_EQ(MLIBCSzHashSetValue(hash, key, value), 0);
    std::memset(key, '-', 3);
    std::memset(value, '-', 3);
    EXPECT_EQ(MLIBCSzHashSetValue(hash, "other", ""), 0);
    EXPECT_LT(MLIBCSzHashSetValue(hash, nullptr, "x"), 0);
    EXPECT_LT(MLIBCSzHashSetValue(hash, "x", nullptr), 0);
    EXPECT_LT(MLIBCSzHashSetValue(nullptr, "x", "x"), 0);
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(MLIBCFileAddSection("/run/a", "S", hash, 0), 0);
    EXPECT_EQ(Read("/run/a"), "[S]\nkey=new\nother=\n");
    MLIBCSzHashFree(hash);
    MLIBCSzHashFree(nullptr);
}

TEST(Snprintf, SaysWhetherTheTextFits)
{
    const std::tuple<std::size_t, int, const char*> cases[] = {
        {6, 0, "ab 12"},
        {5, MLIBC_ERR_BUFFER_TOO_SMALL, "ab 1"},
        {1, MLIBC_ERR_BUFFER_TOO_SMALL, ""},
        {0, MLIBC_ERR_INVALID_ARGUMENT, "~~~~~~~"},
    };
    for (const auto& [size, code, text] : cases) {
        char buffer[] = "~~~~~~~";
        MLIBCErrSetEx(0, "", 0);
        EXPECT_EQ(MLIBCStrSnprintf(buffer, size, "%s %d", "ab", 12) == 0, code == 0) << size;
        EXPECT_EQ(MLIBCErrGet(), code) << size;
        EXPECT_STREQ(buffer, text) << size;
    }
    EXPECT_LT(MLIBCStrSnprintf(nullptr, 5, "x"), 0);
}

TEST_F(Texts, ACapabilityIsSupportedWhenTheFileSaysYes)
{
    EXPECT_EQ(MLIBCSupportGet("a"), 0) << "no file";
    const std::pair<const char*, int> cases[] = {
        {"a=yes\n", 1},         {"a = yes \r\n", 1}, {"a=no\na=yes", 1},  {"a=no\n", 0},   {"a=YES\n", 0},
        {"a=yess\n", 0},        {"a=yes yes\n", 0},  {"a=ye\n", 0},       {"a=\n", 0},     {"b=yes\n", 0},
        {"#a=yes\n", 0},        {"a=yes\na=no", 0},  {"[s]\na=yes\n", 0}, {"a=\"yes\"", 0}, {"", 0},
    };
    for (const auto& [text, expected] : cases) {
        Write("/usr/mero/etc/support.conf", text);
        EXPECT_EQ(MLIBCSupportGet("a"), expected) << text;
    }
    EXPECT_EQ(MLIBCSupportGet(nullptr), 0);
}

TEST_F(Texts, TheBootStepIsTheNumberInItsFile)
{
    EXPECT_LT(MEROSystemGetBootStep(), 0) << "no file";
    const std::pair<std::string, int> cases[] = {
        {"5\n", 5},       {"0", 0},         {"120 \r\n", 120}, {"2147483647\n", 2147483647}, {"-1\n", -1},
        {"", -1},         {"\n", -1},       {"x\n", -1},       {"5x\n", -1},                 {"5 6\n", -1},
        {"1.5\n", -1},    {"0x10\n", -1},   {"--1\n", -1},     {"2147483648\n", -1},         {"-\n", -1},
        {std::string(40, '0') + "5", -1},   {"5" + std::string(40, '\n') + "6", -1},
    };
    for (const auto& [text, step] : cases) {
        Write("/run/merobootseq/boot-step", text);
        EXPECT_EQ(MEROSystemGetBootStep(), step) << text;
    }
    std::filesystem::remove("/run/merobootseq/boot-step");
    std::filesystem::create_directory("/run/merobootseq/boot-step");
    EXPECT_LT(MEROSystemGetBootStep(), 0);
}

} // namespace
