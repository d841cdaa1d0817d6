#include "core/names.h"
#include "core/text.h"
#include "support/machine.h"
#include "unit/unit_file.h"

#include <merocore/error.h>

#include <gmock/gmock.h>

#include <sstream>

using namespace MERO::Systemd;
using namespace MERO::Test;
using ::testing::ElementsAre;

namespace {

TEST(UnitNames, TypesStemsAndNormalNames)
{
    struct Case {
        std::string unit, type, stem, normalized;
    };
    const Case cases[] = {
        {"nfs", "", "nfs", "nfs.service"},
        {"nfs.service", "service", "nfs", "nfs.service"},
        {"data.mount", "mount", "data", "data.mount"},
        {"x.scope", "scope", "x", "x.scope"},
        {"a.b", "b", "a", "a.b.service"},
        {"a.b.timer", "timer", "a.b", "a.b.timer"},
        {"a.", "", "a", "a..service"},
        {"foo@", "", "foo@", "foo@.service"},
        {"foo@bar.service", "service", "foo@bar", "foo@bar.service"},
        {"a.Service", "Service", "a", "a.Service.service"},
        {".service", "service", "", ".service"},
        {"", "", "", ".service"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(UnitTypeGet(c.unit), c.type) << c.unit;
        EXPECT_EQ(UnitNameWithoutFileExtensionGet(c.unit), c.stem) << c.unit;
        EXPECT_EQ(NormalizedUnitNameGet(c.unit), c.normalized) << c.unit;
    }
    std::istringstream types("service socket device mount automount swap target path timer slice scope");
    for (std::string type; types >> type;) {
        EXPECT_TRUE(IsUnitType(type)) << type;
    }
}

TEST(Split, TrimsTheTextAndKeepsEmptyPieces)
{
    std::vector<std::string> pieces;
    EXPECT_TRUE(Split("  a,,b \n", pieces, ","));
    EXPECT_THAT(pieces, ElementsAre("a", "", "b"));

    EXPECT_TRUE(Split(" \t\n", pieces, ","));
    EXPECT_THAT(pieces, ElementsAre("a", "", "b")) << "a text of blanks leaves the list alone";

    EXPECT_TRUE(Split("a b,c", pieces, ", "));
    EXPECT_THAT(pieces, ElementsAre("a", "b", "c")) << "every one of the characters divides";
}

class UnitFiles : public Machine {};

TEST_F(UnitFiles, TheFirstDirectoryThatHoldsTheFileWins)
{
    Write("/run/systemd/system/a.service", "");
    EXPECT_EQ(UnitPathGet("a"), "/run/systemd/system/a.service");
    Write("/etc/systemd/system/a.service", "");
    EXPECT_EQ(UnitPathGet("a"), "/etc/systemd/system/a.service");
    Write("/usr/lib/systemd/system/a.service", "");
    EXPECT_EQ(UnitPathGet("a"), "/usr/lib/systemd/system/a.service");
    std::filesystem::create_symlink("/nowhere", "/usr/local/lib/systemd/system/a.service");
    EXPECT_EQ(UnitPathGet("a"), "/usr/lib/systemd/system/a.service") << "a dangling link does not exist";
}

TEST_F(UnitFiles, AMissingFileThrowsWithTheNameAsGiven)
{
    try {
        (void)UnitPathGet("nfs");
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Unit is not found [nfs]");
    }
    EXPECT_EQ(MLIBCErrGet(), 0x0700);
    EXPECT_STREQ(MLIBCErrorGetFile(), "systemd_internal_lib");
    EXPECT_GT(MLIBCErrorGetLine(), 0);
    EXPECT_THROW((void)XTarvixKeyGet("nfs", "Name"), std::runtime_error);
}

TEST_F(UnitFiles, AMissingKeyIsNoError)
{
    Write("/usr/lib/systemd/system/a.service", "");
    MLIBCErrSetEx(0x1234, "mark", 1);
    EXPECT_EQ(XTarvixKeyGet("a", "Name"), "");
    EXPECT_EQ(MLIBCErrGet(), 0x1234);
    EXPECT_STREQ(MLIBCErrorGetFile(), "mark");
}

TEST_F(UnitFiles, AnInstanceReadsItsTemplate)
{
    Write("/usr/lib/systemd/system/foo@.service", "[X-Tarvix]\nName=template\n");
    Write("/usr/lib/systemd/system/foo@.timer", "[X-Tarvix]\nName=timer\n");
    Write("/usr/lib/systemd/system/foo@bar.service", "[X-Tarvix]\nName=instance\n");
    Write("/usr/lib/systemd/system/foo.socket", "[Socket]\nName=no\n[X-Tarvix]\nName=socket\n");
    EXPECT_EQ(XTarvixKeyGet("foo@bar.service", "Name"), "template");
    EXPECT_EQ(XTarvixKeyGet("foo@bar", "Name"), "template");
    EXPECT_EQ(XTarvixKeyGet("foo@a.b", "Name"), "template");
    EXPECT_EQ(XTarvixKeyGet("foo@bar.timer", "Name"), "timer");
    EXPECT_EQ(XTarvixKeyGet("foo.socket", "Name"), "socket");
    EXPECT_EQ(XTarvixKeyGet("foo.socket", "Icon"), "");
    EXPECT_EQ(UnitSectionKeyGet("foo@bar.service", "X-Tarvix", "Name"), "instance");
}

TEST_F(UnitFiles, ALongValueIsCutTo1023Bytes)
{
    Write("/etc/systemd/system/a.service", "[X-Tarvix]\nName=" + std::string(3000, 'x') + "\n");
    EXPECT_EQ(XTarvixKeyGet("a", "Name"), std::string(1023, 'x'));
}

TEST_F(UnitFiles, AddUnitSectionMakesTheFolderAndReplacesItsSection)
{
    const std::string folder = "/run/systemd/system/a.service.d";
    EXPECT_TRUE(AddUnitSection(folder, "mero.conf", "Unit", {{"B", "2"}, {"A", "1"}}));
    EXPECT_EQ(Read(folder + "/mero.conf"), "[Unit]\nA=1\nB=2\n");
    EXPECT_TRUE(AddUnitSection(folder, "mero.conf", "Service", {{"Nice", "5"}}));
    EXPECT_TRUE(AddUnitSection(folder, "mero.conf", "Unit", {{"C", ""}}));
    EXPECT_EQ(Read(folder + "/mero.conf"), "[Unit]\nC=\n\n[Service]\nNice=5\n");
    EXPECT_THAT(Log(), ElementsAre());
}

TEST_F(UnitFiles, AddUnitSectionSaysWhatFailed)
{
    const std::map<std::string, std::string> values{
        {"A", "1"}, {"B", " 2"}, {"C", "3\n[Service]"}, {"", "x"}, {"D=", "x"}};
    EXPECT_TRUE(AddUnitSection("/run/v", "a.conf", "Unit", values)) << "what can be set is written";
    EXPECT_EQ(Read("/run/v/a.conf"), "[Unit]\nA=1\n");
    EXPECT_THAT(Log(),
                ::testing::AllOf(
                    ::testing::SizeIs(4),
                    ::testing::Each(::testing::MatchesRegex(
                        "ERR systemd_internal_lib: Fail to MLIBCSzHashSetValue to \\[/run/v/a.conf\\] \\[0x0D00 .*"))));
    Write("/run/file", "");
    EXPECT_FALSE(AddUnitSection("/run/file/x", "a.conf", "Unit", {}));
    std::filesystem::create_directories("/run/d/a.conf");
    EXPECT_FALSE(AddUnitSection("/run/d", "a.conf", "Unit", {}));
    EXPECT_THAT(Log(),
                ElementsAre(::testing::MatchesRegex(
                                "ERR systemd_internal_lib: Fail to mkdir \\[/run/file/x\\] \\[0x0F00 exec:[0-9]+\\]"),
                            ::testing::MatchesRegex(
                                "ERR systemd_internal_lib: Fail to MLIBCFileSetSection to \\[/run/d/a.conf\\] "
                                "\\[0x0B00 whole_file:[0-9]+\\]")));
}

} // namespace
