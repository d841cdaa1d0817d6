#include "core/names.h"
#include "core/text.h"
#include "support/operations.h"
#include "unit/unit_file.h"

#include <sstream>

using namespace MERO::Systemd;
using namespace MERO::Test;
using namespace ::testing;

namespace {

class UnitFiles : public Machine {
protected:
    static void SetKeys(const std::string& keys, const std::string& unit = "a.service")
    {
        Write("/usr/lib/systemd/system/" + unit, "[X-Tarvix]\n" + keys);
    }
};

TEST_F(UnitFiles, NamesHaveTypesStemsAndNormalForms)
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

TEST_F(UnitFiles, SplitTrimsTheTextAndKeepsEmptyPieces)
{
    Texts pieces;
    EXPECT_TRUE(Split("  a,,b \n", pieces, ","));
    EXPECT_THAT(pieces, ElementsAre("a", "", "b"));
    EXPECT_TRUE(Split(" \t\n", pieces, ",") && pieces.size() == 3) << "blanks leave the list alone";
    EXPECT_TRUE(Split("a b,c", pieces, ", "));
    EXPECT_THAT(pieces, ElementsAre("a", "b", "c")) << "each of the characters divides";
}

TEST_F(UnitFiles, AreFoundAndReadWithTheirTemplates)
{
    fs::create_symlink("/nowhere", "/usr/local/lib/systemd/system/a.service"); // a dangling link
    for (const std::string folder : {"/run", "/etc", "/usr/lib"}) { // each takes precedence over the previous one
        const std::string path = folder + "/systemd/system/a.service";
        Write(path, "");
        EXPECT_EQ(UnitPathGet("a"), path);
    }
    MLIBCErrSetEx(0x1234, "mark", 1);
    EXPECT_TRUE(XTarvixKeyGet("a", "Name").empty() && MLIBCErrGet() == 0x1234) << "a missing key is no error";
    SetKeys("Name=" + std::string(3000, 'x') + "\n");
    EXPECT_EQ(XTarvixKeyGet("a", "Name"), std::string(1023, 'x'));
    EXPECT_THROW((void)XTarvixKeyGet("nfs", "Name"), std::runtime_error);
    EXPECT_TRUE(MLIBCErrGet() == 0x0700 && MLIBCErrorGetFile() == std::string("systemd_internal_lib"));
    Write("/etc/passwd.service", "[X-Tarvix]\nName=root\n");
    for (const std::string unit : {"/etc/passwd", "../../../etc/passwd", "a/../a"}) {
        EXPECT_THROW((void)XTarvixKeyGet(unit, "Name"), std::runtime_error) << "a folder has no such file";
        EXPECT_THROW((void)UnitPathGet(unit), std::runtime_error);
    }

    SetKeys("Name=template\n", "foo@.service"), SetKeys("Name=instance\n", "foo@bar.service");
    SetKeys("Name=timer\n", "foo@.timer"), SetKeys("[Socket]\nName=no\n[X-Tarvix]\nName=socket\n", "foo.socket");
    const std::pair<std::string, std::string> cases[] = {{"foo@bar.service", "template"},
                                                         {"foo@bar", "template"},
                                                         {"foo@a.b", "template"},
                                                         {"foo@bar.timer", "timer"},
                                                         {"foo.socket", "socket"}};
    for (const auto& [unit, name] : cases) {
        EXPECT_EQ(XTarvixKeyGet(unit, "Name"), name) << unit;
    }
    EXPECT_EQ(UnitSectionKeyGet("foo@bar.service", "X-Tarvix", "Name"), "instance");
}

TEST_F(UnitFiles, OnlyYesIsTrue)
{
    struct Getter {
        std::string key, keyForC;
        bool (*get)(const std::string&, bool&);
        int (*getFromC)(const char*, bool*);
    };
    const std::string byDefault = "DefaultEnable", info = "InfoCenterDisplay", update = "NanoUpdateDisplay";
    const Getter getters[] = {
        {"SupportOneClickEnable", byDefault, MEROSystemdSupportOneClickEnableGet, MEROCSystemdSupportOneClickEnableGet},
        {byDefault, byDefault, MEROSystemdIsDefaultEnableGet, MEROCSystemdIsDefaultEnableGet},
        {info, info, MEROSystemdInfoCenterDisplayGet, MEROCSystemdInfoCenterDislayGet},
        {update, update, MEROSystemdNanoUpdateDislayGet, MEROCSystemdNanoUpdateDislayGet},
    };
    for (const Getter& getter : getters) {
        bool answer = true;
        EXPECT_TRUE(!getter.get("missing", answer) && answer);
        EXPECT_TRUE(getter.getFromC("missing", &answer) == 0 && MLIBCErrGet() == 0x0700 && answer);
        for (const std::string value : {"yes", "Yes", "YES", "true", "1", ""}) {
            SCOPED_TRACE(getter.key + "=" + value);
            SetKeys(getter.key + "=" + value + "\n");
            answer = value != "yes";
            EXPECT_TRUE(getter.get("a", answer) && answer == (value == "yes"));
            SetKeys(getter.keyForC + "=" + value + "\n");
            answer = value != "yes";
            EXPECT_TRUE(getter.getFromC("a.service", &answer) == 1 && answer == (value == "yes"));
        }
    }
    Write("/usr/mero/etc/support.conf", "zfs=yes\nraid=no\n");
    for (const std::string keys : {"", "SupportKey=\n", "SupportKey=zfs\n", "SupportKey=raid\n", "SupportKey=none\n"}) {
        SetKeys(keys);
        const bool isSupported = keys.size() < 13 || keys.ends_with("zfs\n");
        bool support = !isSupported, supportForC = !isSupported;
        EXPECT_TRUE(MEROSystemdIsSupportGet("a", support) && MEROCSystemdIsSupportGet("a", &supportForC) == 1);
        EXPECT_TRUE(support == isSupported && supportForC == isSupported) << keys;
    }
}

TEST_F(UnitFiles, NamesAndListsAreChecked)
{
    SetKeys("Name=NFS server\nNameI18n=nfs:title\n");
    char buffer[16] = "untouched";
    EXPECT_TRUE(MEROCSystemdNameGet("a", buffer, 10) == 0 && MLIBCErrGet() == 0x0100);
    EXPECT_EQ(MEROCSystemdNameI18nGet("a", buffer, 9), 0);
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_EQ(MEROCSystemdNameGet("a", buffer, 11), 1);
    EXPECT_STREQ(buffer, "NFS server");
    EXPECT_EQ(MEROCSystemdNameI18nGet("a", buffer, 10), 1);
    EXPECT_STREQ(buffer, "nfs:title");
    const std::pair<std::string, bool> cases[] = {{"a:b", true},      {"a:b:c", true}, {"a", false},
                                                  {"a:b:c:d", false}, {"", false},     {":", true}};
    for (const auto& [value, valid] : cases) {
        SetKeys("Name=\nNameI18n=" + value + "\n");
        std::string stored = "before";
        EXPECT_EQ(MEROSystemdNameI18nGet("a", stored), valid) << value;
        EXPECT_EQ(stored, value) << "an invalid value is stored too";
    }
    std::string name = "before";
    EXPECT_TRUE(!MEROSystemdNameGet("missing", name) && name == "before");
    EXPECT_TRUE(!MEROSystemdNameGet("a", name) && name.empty()) << "an empty name is a failure";

    SetKeys("FirewallSections=nfs  smb\nBelongsTo=multi-user.target nfs.service x.target\nPackedIn=p.target y\n");
    Texts sections{"before"}, targets{"before"};
    MLIBCSzList* list = MLIBCSzListAlloc();
    EXPECT_TRUE(MEROSystemdFirewallSectionsGet("a", sections) && MEROCSystemdFirewallSectionsGet("a", &list) == 1);
    EXPECT_THAT(sections, ElementsAre("nfs", "", "smb"));
    EXPECT_EQ(Items(List(list).get()), sections);
    EXPECT_TRUE(MEROSystemdBelongsToGet("a", targets) && MEROSystemdPackedInGet("a", targets));
    SetKeys("");
    EXPECT_TRUE(MEROSystemdBelongsToGet("a", targets) && !MEROSystemdBelongsToGet("missing", targets));
    EXPECT_THAT(targets, ElementsAre("before", "multi-user.target", "x.target", "p.target"));
}

TEST_F(UnitFiles, ASectionIsReplacedOrTheFailureIsLogged)
{
    const std::string folder = "/run/systemd/system/a.service.d", file = folder + "/mero.conf";
    EXPECT_TRUE(AddUnitSection(folder, "mero.conf", "Unit", {{"B", "2"}, {"A", "1"}}));
    EXPECT_EQ(Read(file), "[Unit]\nA=1\nB=2\n");
    EXPECT_TRUE(AddUnitSection(folder, "mero.conf", "Service", {{"Nice", "5"}}));
    EXPECT_TRUE(AddUnitSection(folder, "mero.conf", "Unit", {{"C", ""}}));
    EXPECT_EQ(Read(file), "[Unit]\nC=\n\n[Service]\nNice=5\n");
    EXPECT_TRUE(Log().empty());
    EXPECT_TRUE(AddUnitSection(folder, "mero.conf", "Unit",
                               {{"A", "1"}, {"B", " 2"}, {"C", "3\n[Service]"}, {"", "x"}, {"D=", "x"}}));
    EXPECT_EQ(Read(file), "[Unit]\nA=1\n\n[Service]\nNice=5\n") << "valid keys are written";
    const Texts said = Said("systemd_internal_lib");
    EXPECT_THAT(said, AllOf(SizeIs(4), Each(StartsWith("ERR Fail to MLIBCSzHashSetValue to [" + file + "] [0x0D00 "))));

    Write("/run/file", ""), fs::create_directories("/run/d/a.conf");
    EXPECT_FALSE(AddUnitSection("/run/file/x", "a.conf", "Unit", {}) || AddUnitSection("/run/d", "a.conf", "Unit", {}));
    EXPECT_THAT(Said("systemd_internal_lib"),
                ElementsAre(MatchesRegex("ERR Fail to mkdir \\[/run/file/x\\] \\[0x0F00 exec:[0-9]+\\]"),
                            MatchesRegex("ERR Fail to MLIBCFileSetSection to \\[/run/d/a.conf\\] "
                                         "\\[0x0B00 whole_file:[0-9]+\\]")));
}

} // namespace
