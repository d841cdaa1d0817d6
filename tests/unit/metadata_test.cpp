#include "support/machine.h"

#include <merocore/error.h>
#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

using namespace MERO::Test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

namespace {

class Metadata : public Machine {
protected:
    void SetKeys(const std::string& keys) { Write("/usr/lib/systemd/system/a.service", "[X-Tarvix]\n" + keys); }
};

TEST_F(Metadata, OnlyTheWordYesIsYes)
{
    struct Getter {
        std::string key;
        bool (*get)(const std::string&, bool&);
        int (*getFromC)(const char*, bool*);
        bool cReadsThisKey = true;
    };
    const Getter getters[] = {
        {"SupportOneClickEnable", MEROSystemdSupportOneClickEnableGet, MEROCSystemdSupportOneClickEnableGet, false},
        {"DefaultEnable", MEROSystemdIsDefaultEnableGet, MEROCSystemdIsDefaultEnableGet},
        {"InfoCenterDisplay", MEROSystemdInfoCenterDisplayGet, MEROCSystemdInfoCenterDislayGet},
        {"NanoUpdateDisplay", MEROSystemdNanoUpdateDislayGet, MEROCSystemdNanoUpdateDislayGet},
    };
    for (const Getter& getter : getters) {
        for (const std::string value : {"yes", "Yes", "YES", "true", "1", ""}) {
            SCOPED_TRACE(getter.key + "=" + value);
            SetKeys(getter.key + "=" + value + "\n");
            bool answer = value != "yes";
            EXPECT_TRUE(getter.get("a", answer));
            EXPECT_EQ(answer, value == "yes");
            answer = true;
            EXPECT_EQ(getter.getFromC("a.service", &answer), 1);
            EXPECT_EQ(answer, value == "yes" && getter.cReadsThisKey);
        }
        bool untouched = true;
        EXPECT_FALSE(getter.get("missing", untouched));
        EXPECT_EQ(getter.getFromC("missing", &untouched), 0);
        EXPECT_EQ(MLIBCErrGet(), 0x0700);
        EXPECT_TRUE(untouched);
    }
}

TEST_F(Metadata, TheOneClickGetterOfCAnswersFromDefaultEnable)
{
    SetKeys("DefaultEnable=yes\nSupportOneClickEnable=no\n");
    bool answer = false;
    EXPECT_EQ(MEROCSystemdSupportOneClickEnableGet("a", &answer), 1);
    EXPECT_TRUE(answer);
}

TEST_F(Metadata, NamesMustFitTheCallersBuffer)
{
    SetKeys("Name=NFS server\nNameI18n=nfs:title\n");
    char buffer[16] = "untouched";
    EXPECT_EQ(MEROCSystemdNameGet("a", buffer, 10), 0);
    EXPECT_EQ(MLIBCErrGet(), 0x0100);
    EXPECT_EQ(MEROCSystemdNameI18nGet("a", buffer, 9), 0);
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_EQ(MEROCSystemdNameGet("a", buffer, 11), 1);
    EXPECT_STREQ(buffer, "NFS server");
    EXPECT_EQ(MEROCSystemdNameI18nGet("a", buffer, 10), 1);
    EXPECT_STREQ(buffer, "nfs:title");
}

TEST_F(Metadata, ANameMustSayWhat)
{
    SetKeys("Name=\n");
    std::string name = "before";
    EXPECT_FALSE(MEROSystemdNameGet("a", name));
    EXPECT_EQ(name, "");
    name = "before";
    EXPECT_FALSE(MEROSystemdNameGet("missing", name));
    EXPECT_EQ(name, "before");
}

TEST_F(Metadata, ATranslatedNameHoldsOneOrTwoColons)
{
    const std::pair<std::string, bool> cases[] = {{"a:b", true},      {"a:b:c", true}, {"a", false},
                                                  {"a:b:c:d", false}, {"", false},     {":", true}};
    for (const auto& [value, valid] : cases) {
        SetKeys("NameI18n=" + value + "\n");
        std::string stored = "before";
        EXPECT_EQ(MEROSystemdNameI18nGet("a", stored), valid) << value;
        EXPECT_EQ(stored, value) << "an invalid value is stored all the same";
    }
}

TEST_F(Metadata, SupportIsThePlatformsWord)
{
    Write("/usr/mero/etc/support.conf", "zfs=yes\nraid=no\n");
    const std::pair<std::string, bool> cases[] = {{"", true},
                                                  {"SupportKey=\n", true},
                                                  {"SupportKey=zfs\n", true},
                                                  {"SupportKey=raid\n", false},
                                                  {"SupportKey=unheard\n", false}};
    for (const auto& [keys, supported] : cases) {
        SetKeys(keys);
        bool support = !supported;
        EXPECT_TRUE(MEROSystemdIsSupportGet("a", support));
        EXPECT_EQ(support, supported) << keys;
        EXPECT_EQ(MEROCSystemdIsSupportGet("a", &support), 1);
        EXPECT_EQ(support, supported) << keys;
    }
}

TEST_F(Metadata, Lists)
{
    SetKeys("FirewallSections=nfs  smb\nBelongsTo=multi-user.target nfs.service x.target\nPackedIn=p.target y\n");
    std::vector<std::string> sections{"before"};
    std::vector<std::string> targets{"before"};
    EXPECT_TRUE(MEROSystemdFirewallSectionsGet("a", sections));
    EXPECT_THAT(sections, ElementsAre("nfs", "", "smb"));
    EXPECT_TRUE(MEROSystemdBelongsToGet("a", targets));
    EXPECT_TRUE(MEROSystemdPackedInGet("a", targets));
    EXPECT_THAT(targets, ElementsAre("before", "multi-user.target", "x.target", "p.target"));

    MLIBCSzList* list = MLIBCSzListAlloc();
    EXPECT_EQ(MEROCSystemdFirewallSectionsGet("a", &list), 1);
    ASSERT_EQ(MLIBCSzListCount(list), 3);
    EXPECT_STREQ(MLIBCSzListGet(list, 2), "smb");
    MLIBCSzListFree(list);

    SetKeys("");
    targets.clear();
    EXPECT_TRUE(MEROSystemdBelongsToGet("a", targets));
    EXPECT_THAT(targets, IsEmpty());
    EXPECT_FALSE(MEROSystemdBelongsToGet("missing", targets));
}

} // namespace
