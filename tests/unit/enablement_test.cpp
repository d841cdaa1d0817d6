#include "support/operations.h"
#include "unit/enable_status_flag.h"

using namespace MERO::Systemd;
using namespace MERO::Test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAreArray;
namespace fs = std::filesystem;

namespace {

const std::string kFlags = "/usr/mero/etc/merosystemd/enable-status-changed";

struct Operation {
    std::string command, file, doing;
    bool oneRun; ///< for all units, with flags
    bool (*list)(const Texts&, Texts&);
    bool (*single)(const std::string&);
    int (*fromC)(const char*);
    int (*group)(const MLIBCSzList*);

    std::string Verb() const { return command.substr(0, command.find(' ')); }
};

#define FORMS(Name, Plus)                                                                                              \
    MEROSystemd##Name##Plus, MEROSystemd##Name##Plus, MEROCSystemd##Name##Plus, MEROCSystemd##Name##Group##Plus

const Operation kOperations[] = {
    {"enable", "systemd_enable", "enabling", true, FORMS(Enable, )},
    {"disable", "systemd_disable", "disabling", true, FORMS(Disable, )},
    {"reenable", "systemd_reenable", "reenabling", true, FORMS(Reenable, )},
    {"enable --root=/.", "systemd_enable_in_generator", "enabling", true, FORMS(Enable, InGenerator)},
    {"disable --root=/.", "systemd_disable_in_generator", "disabling", true, FORMS(Disable, InGenerator)},
    {"mask", "systemd_mask", "masking", false, FORMS(Mask, )},
    {"unmask", "systemd_unmask", "unmasking", false, FORMS(Unmask, )},
};

class Enablement : public Machine {};

TEST_F(Enablement, EveryFormRunsItsCommand)
{
    const List units = MakeList({"a", "b"});
    Texts failed;
    for (const Operation& operation : kOperations) {
        const std::string run = operation.command + " ";
        EXPECT_TRUE(operation.list({"a", "b"}, failed) && operation.single("a"));
        EXPECT_TRUE(operation.fromC("a") == 1 && operation.group(units.get()) == 1);
        const std::string both = operation.oneRun ? run + "a b\n" : run + "a\n" + run + "b\n";
        EXPECT_EQ(Read("/run/systemctl.calls"), both + run + "a\n" + run + "a\n" + both);
        (void)Calls();
    }
    const CommandOptions options = std::move(CommandOptions().SetNoReload().SetRunTime());
    EXPECT_TRUE(MEROSystemdEnableWithOptions({"a", "b"}, options, failed) &&
                MEROSystemdDisableWithOptions({"a", "b"}, options, failed) &&
                MEROSystemdEnableWithOptionsInternal({"--now", "--force"}, {"a"}, failed) &&
                MEROSystemdDisableWithOptionsInternal({"--now", "--force"}, {"a"}, failed) &&
                MEROCSystemdMaskRunTime("a") == 1 && MEROCSystemdUnmaskRunTime("a") == 1);
    EXPECT_THAT(Calls(), ElementsAre("enable --runtime --no-reload a b", "disable --runtime --no-reload a b",
                                     "enable --now --force a", "disable --now --force a", "mask --runtime a",
                                     "unmask --runtime a"));
}

TEST_F(Enablement, OneFailureFailsAllUnitsOfARunAndTheirFlagsAreSetAllTheSame)
{
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.command);
        const std::string verb = operation.Verb(), doing = "INFO [a, b.mount] " + operation.doing + " ...";
        const std::string end = "ERR [a, b.mount] " + verb + " failed";
        Texts failed{"before"};
        RemoveSystemctl();
        EXPECT_FALSE(operation.list({"a", "b.mount"}, failed));
        EXPECT_THAT(failed, ElementsAre("before", "a", "b.mount"));
        EXPECT_THAT(Said("systemd_" + verb), ElementsAre(doing, end + "."));
        EXPECT_FALSE(fs::exists(kFlags));

        Systemctl({{"*b.mount", "one\ntwo\n", 5}});
        failed.clear();
        EXPECT_FALSE(operation.list({"a", "b.mount"}, failed));
        if (operation.oneRun) {
            EXPECT_THAT(failed, ElementsAre("a", "b.mount"));
            EXPECT_THAT(Said("systemd_" + verb), ElementsAre(doing, end + ": ret=[5], reason:\none\ntwo\n"));
            EXPECT_TRUE(IsEnableStatusChanged("a") && IsEnableStatusChanged("a.service"));
            EXPECT_TRUE(fs::exists(kFlags + "/a.service") && fs::exists(kFlags + "/b.mount"));
        } else {
            EXPECT_THAT(failed, ElementsAre("b.mount"));
            const std::string reason = "ERR " + verb + " failed: ret=[5], reason=[one\n, two\n]";
            EXPECT_THAT(Said("systemd_" + verb), ElementsAre(doing, reason, end + "."));
            EXPECT_FALSE(fs::exists(kFlags));
        }
        fs::remove_all(kFlags);
        Write(kFlags, "in the way of the flags' folder");
        Systemctl({});
        EXPECT_TRUE(operation.list({"a", "b.mount"}, failed));
        const Texts log = Log();
        EXPECT_EQ(log[2].starts_with("ERR systemd_internal_lib: Failed to mkdir -p [" + kFlags), operation.oneRun);
        EXPECT_THAT(log[1], HasSubstr("Execute time for [/usr/bin/systemctl " + operation.command + " a"));
        EXPECT_EQ(log.back(), "INFO systemd_" + verb + ": [a, b.mount] " + verb + (operation.oneRun ? "d." : "ed."));
        fs::remove_all(kFlags);
    }
}

TEST_F(Enablement, UnitsMayBeGivenByTheirFiles)
{
    const Texts units{"/opt/a.service", "pkg/b", "../c.mount", "//d@e", "/opt/../..x"};
    const std::string all = "/opt/a.service pkg/b ../c.mount //d@e /opt/../..x";
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.command);
        Texts failed, flags;
        fs::remove_all(kFlags);
        EXPECT_TRUE(operation.list(units, failed));
        EXPECT_THAT(Log(), ::testing::Each(::testing::Not(HasSubstr("ERR "))));
        EXPECT_EQ(Calls().back(), operation.command + (operation.oneRun ? " " + all : " " + units.back()));
        for (const auto& entry : fs::recursive_directory_iterator("/usr/mero")) {
            entry.is_directory() ? void() : flags.push_back(entry.path().lexically_relative(kFlags));
        }
        EXPECT_THAT(flags, UnorderedElementsAreArray(operation.oneRun ? Texts{"a.service", "b.service", "c.mount",
                                                                              "d@e.service", "..x.service"}
                                                                      : Texts()));
    }
}

TEST_F(Enablement, UnitsWhoseFlagWouldHaveNoNameAreRefused)
{
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.command);
        Texts failed;
        const Texts unfit{"..", ".", "", "/", "/opt/..", "x/.", "/opt/x.service/", "x/../", {"a\0/b", 4}, {"a/b\0", 4}};
        for (const std::string& name : operation.oneRun ? unfit : Texts()) { // the others make no files
            failed.clear();
            EXPECT_FALSE(operation.list({"a", name}, failed));
            EXPECT_THAT(failed, ElementsAre("a", name));
            EXPECT_THAT(Said("systemd_" + operation.Verb()), ElementsAre("EndInFileNames(vecUnits)"));
        }
    }
    EXPECT_TRUE(Calls().empty());
}

} // namespace
