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

using namespace MERO::Test;

namespace {

TEST(ErrorRegister, BelongsToItsThread)
{
    MLIBCErrSetEx(7, "mine.cpp", 70);
    std::jthread([] {
        EXPECT_EQ(MLIBCErrGet(), 0);
        MLIBCErrSetEx(8, "other.cpp", 80);
    }).join();
    EXPECT_EQ(MLIBCErrGet(), 7);
    EXPECT_STREQ(MLIBCErrorGetFile(), "mine");
    EXPECT_EQ(MLIBCErrorGetLine(), 70);
    MLIBCErrSetEx(7, ("/a/b.d/" + std::string(64, 'x') + ".cpp").c_str(), 70);
    EXPECT_EQ(MLIBCErrorGetFile(), std::string(63, 'x'));
}

TEST(List, GrowsAndKeepsItsItems)
{
    MLIBCSzList* list = MLIBCSzListAlloc();
    for (int i = 0; i < 1'000; ++i) {
        const std::string text = "item " + std::to_string(i);
        ASSERT_EQ(MLIBCSzListPush(&list, i == 500 ? nullptr : text.c_str()), 0);
    }
    EXPECT_EQ(MLIBCSzListCount(list), 1'000);
    for (const int index : {-1, 1'000, 500}) {
        EXPECT_EQ(MLIBCSzListGet(list, index), nullptr) << index;
    }
    EXPECT_STREQ(MLIBCSzListGet(list, 0), "item 0");
    EXPECT_STREQ(MLIBCSzListGet(list, 999), "item 999");
    MLIBCSzListFree(list);
}

class Texts : public Machine {};

TEST_F(Texts, AHashKeepsCopiesAndTheLastValue)
{
    MLIBCSzHash* hash = MLIBCSzHashAlloc(-1);
    char key[] = "key";
    char value[] = "new";
    EXPECT_EQ(MLIBCSzHashSetValue(hash, key, "old"), 0);
    EXPECT_EQ(MLIBCSzHashSetValue(hash, key, value), 0);
    std::memset(key, '-', 3);
    std::memset(value, '-', 3);
    EXPECT_EQ(MLIBCSzHashSetValue(hash, "other", ""), 0);
    EXPECT_EQ(MLIBCFileAddSection("/run/a", "S", hash, 0), 0);
    EXPECT_EQ(Read("/run/a"), "[S]\nkey=new\nother=\n");
    MLIBCSzHashFree(hash);
}

TEST(Snprintf, SaysWhetherTheTextFits)
{
    char buffer[6];
    EXPECT_EQ(MLIBCStrSnprintf(buffer, 6, "%s %d", "ab", 12), 0);
    EXPECT_LT(MLIBCStrSnprintf(buffer, 5, "%s %d", "ab", 12), 0);
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_BUFFER_TOO_SMALL);
    EXPECT_STREQ(buffer, "ab 1");
}

TEST_F(Texts, ACapabilityIsSupportedWhenTheFileSaysYes)
{
    EXPECT_EQ(MLIBCSupportGet("a"), 0) << "no file";
    const std::pair<const char*, int> cases[] = {
        {"a = yes \r\n", 1}, {"a=no\n", 0}, {"a=YES\n", 0}, {"a=yes yes\n", 0}, {"a=ye\n", 0}, {"b=yes\n", 0},
    };
    for (const auto& [text, expected] : cases) {
        Write("/usr/mero/etc/support.conf", text);
        EXPECT_EQ(MLIBCSupportGet("a"), expected) << text;
    }
}

TEST_F(Texts, TheBootStepIsTheNumberInItsFile)
{
    EXPECT_LT(MEROSystemGetBootStep(), 0) << "no file";
    const std::pair<std::string, int> cases[] = {
        {"5\n", 5}, {"0", 0},     {"120 \r\n", 120}, {"-1\n", -1},         {"", -1},
        {"x", -1},  {"5x\n", -1}, {"5 6\n", -1},     {"2147483648\n", -1}, {std::string(40, '0') + "5", -1},
    };
    for (const auto& [text, step] : cases) {
        Write("/run/merobootseq/boot-step", text);
        EXPECT_EQ(MEROSystemGetBootStep(), step) << text;
    }
}

} // namespace
