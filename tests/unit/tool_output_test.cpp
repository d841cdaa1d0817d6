#include "commands/volume_report.h"
#include "output/amounts.h"
#include "output/progress_line.h"
#include "output/text_width.h"
#include "output/times.h"

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

TEST(Times, AreToldInTheirLargestUnit)
{
    const std::pair<std::time_t, const char*> ages[] = {{-5, "0 s"},       {58, "58 s"},       {60, "1 min"},
                                                        {3598, "59 min"},  {3600, "1 h"},      {86398, "23 h"},
                                                        {86400, "1 days"}, {864000, "10 days"}};
    for (const auto& [age, text] : ages) {
        EXPECT_EQ(AgeText(std::time(nullptr) - age), text);
    }
}

TEST(ProgressLine, IsPrintedAnewWhenItsMatterChanges)
{
    ::testing::internal::CaptureStderr();
    ProgressLine line;
    for (const auto& [matter, details] : {std::pair("a", "1"), {"a", "2"}, {"b", "3"}, {"b", "4"}, {"a", "5"}}) {
        line.Show(matter, details);
    }
    line.Clear();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "1\n3\n5\n");
}

TEST(VolumeReport, NamesEveryHolder)
{
    using namespace MERO::Systemd;
    using Kind = VolumeBlocker::Kind;
    VolumeUnmountPlan plan;
    plan.stops = {{"a", {{StopCause::Kind::UsesFiles, "a", "", {{1, "sh", FileUse::Executable, "/a"}}}}}};
    for (const FileUse use : {FileUse::WorkingDirectory, FileUse::Map, FileUse::Root, FileUse::Descriptor}) {
        plan.blockers.push_back({Kind::Process, "", {2, "ls", use, "/b"}});
    }
    for (const Kind kind : {Kind::Mount, Kind::LoopDevice, Kind::SwapFile, Kind::KernelExport}) {
        plan.blockers.push_back({kind, "", {0, "", FileUse::Descriptor, "/c"}});
    }
    const std::string user = "merosystemctl: in use by process 2 (ls), ", kernel = "merosystemctl: in use by a ";
    ::testing::internal::CaptureStderr();
    PrintHolders(plan);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "merosystemctl: in use by process 1 (sh), exe: /a\n" + user + "cwd: /b\n" + user + "map: /b\n" + user +
                  "root: /b\n" + user + "fd: /b\n" + kernel + "mount: /c\n" + kernel + "loop device: /c\n" + kernel +
                  "swap file: /c\n" + kernel + "kernel export: /c\n");
}

} // namespace
