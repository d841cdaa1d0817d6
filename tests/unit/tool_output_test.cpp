#include "output/amounts.h"
#include "output/text_width.h"

#include <gtest/gtest.h>

#include <clocale>
#include <tuple>

using namespace MERO::Tool;

namespace {

TEST(TextWidth, CountsColumnsNotBytes)
{
    const std::tuple<std::string, std::size_t, const char*> cases[] = {
        // the last in four columns
        {"", 0, "    "},
        {"grüßen", 6, "grüß"},
        {"a日本", 5, "a日 "}, // half a character is none
        {"e\u0301te", 3, "e\u0301te "},
        {"\x1b[2J\n", 5, "?[2J"},
        {"\xff\xe6\x97", 3, "??? "}, // no UTF-8, and only the beginning of a character
        {std::string("a\0b", 3), 3, "a?b "},
    };
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    for (const auto& [text, width, fitted] : cases) {
        EXPECT_EQ(WidthOf(text), width) << text;
        EXPECT_EQ(FitLeft(text, 4), fitted);
    }
    EXPECT_EQ(FitRight("a日本", 4), " a日");
    std::setlocale(LC_CTYPE, "C");
    EXPECT_EQ(FitLeft("ü", 4), "??  ") << "another locale's characters";
}

TEST(Amounts, GoOverToTheNextUnitBeforeTheyGetTooLong)
{
    const std::pair<unsigned long, const char*> memories[] = {
        {0, "0 B"},        {1, "1.0 KiB"},         {999, "999.0 KiB"},   {1000, "1.0 MiB"},
        {1536, "1.5 MiB"}, {1023948, "999.9 MiB"}, {1023949, "1.0 GiB"}, {3UL << 40, "3.0 PiB"},
    };
    for (const auto& [kB, text] : memories) {
        EXPECT_EQ(MemoryText(kB), text) << kB;
    }
}

} // namespace
