#include "support/operations.h"
using namespace MERO::Test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

namespace {

using Group = int(const MLIBCSzList*, MLIBCSzList**);
using ListForm = bool(const Texts&, Texts&);
using SingleForm = bool(const std::string&);

/// An action with all its forms, and what it says.
struct Member {
    std::string verb, file, doing, done, failed;
    bool (*withOptions)(const Texts&, const Texts&, Texts&);
    ListForm *list, *listNoBlock;
    SingleForm *single, *singleNoBlock;
    int (*fromC)(const char*);
    int (*fromCNoBlock)(const char*);
    Group *group, *groupNoBlock;
};

#define MEMBER(verb, file, doing, done, failed, Name)                                                                  \
    Member                                                                                                             \
    {                                                                                                                  \
        verb, file, doing, done, failed, MEROSystemd##Name##WithOptions, MEROSystemd##Name,                            \
            MEROSystemd##Name##NoBlock, MEROSystemd##Name, MEROSystemd##Name##NoBlock, MEROCSystemd##Name,             \
            MEROCSystemd##Name##NoBlock, MEROCSystemd##Name##Group, MEROCSystemd##Name##GroupNoBlock                   \
    }

const Member kMembers[] = {
    MEMBER("start", "systemd_start", "starting ...", "started.", "start failed", Start),
    MEMBER("stop", "systemd_stop", "stopping ...", "stopped.", "stopped failed", Stop),
    MEMBER("restart", "systemd_restart", "restarting ...", "restarted.", "restart failed", Restart),
    MEMBER("try-restart", "systemd_restart", "try-restarting ...", "try-restarted.", "try-restart failed", TryRestart),
    MEMBER("reload", "systemd_reload", "reloading ...", "reloaded.", "reload failed", Reload),
    MEMBER("reload-or-restart", "systemd_reload_or_restart", "doing reload-or-restart ...", "done reload-or-restart.",
           "reload-or-restart failed", ReloadOrRestart),
};

class UnitActions : public Machine {
protected:
    UnitActions()
    {
        for (const std::string unit : {"a", "b"}) {
            Write("/usr/lib/systemd/system/" + unit + ".service", "[X-Tarvix]\nName=" + unit + "\n");
        }
        WriteProgram("/usr/mero/bin/merologset", "echo \"$2 $3\" >> /run/events");
    }

    /// The calls but the questions for jobs, which the tests of the runner cover.
    Texts Actions()
    {
        Texts actions;
        for (const std::string& call : Calls()) {
            if (!call.starts_with("list-jobs ")) {
                actions.push_back(call);
            }
        }
        return actions;
    }
};

TEST_F(UnitActions, EveryFormRunsItsCommandOnce)
{
    for (const Member& member : kMembers) {
        SCOPED_TRACE(member.verb);
        const std::string noBlock = member.verb + " --no-block";
        const std::string plain = member.verb == "reload" ? noBlock : member.verb;
        const List both = MakeList({"a", "b"});
        Texts failed;
        EXPECT_TRUE(member.withOptions({"--quiet"}, {"a", "b"}, failed));
        EXPECT_TRUE(member.withOptions({"--no-block"}, {"a"}, failed));
        EXPECT_TRUE(member.list({"a", "b"}, failed));
        EXPECT_TRUE(member.listNoBlock({"a", "b"}, failed));
        EXPECT_TRUE(member.single("a"));
        EXPECT_TRUE(member.singleNoBlock("a"));
        EXPECT_EQ(member.fromC("a"), 1);
        EXPECT_EQ(member.fromCNoBlock("a"), 1);
        EXPECT_EQ(member.group(both.get(), nullptr), 1);
        EXPECT_EQ(member.groupNoBlock(both.get(), nullptr), 1);
        EXPECT_THAT(failed, IsEmpty());
        const std::string quiet = member.verb == "reload" ? "reload --quiet --no-block" : member.verb + " --quiet";
        EXPECT_THAT(Actions(),
                    ElementsAre(quiet + " a b", noBlock + " a", plain + " a b", noBlock + " a b", plain + " a",
                                noBlock + " a", plain + " a", noBlock + " a", plain + " a b", noBlock + " a b"));
    }
}

TEST_F(UnitActions, EveryActionSaysWhatItDoes)
{
    for (const Member& member : kMembers) {
        SCOPED_TRACE(member.verb);
        const std::string place = member.file + ": ";
        Texts failed;
        Systemctl({});
        EXPECT_TRUE(member.list({"a", "b"}, failed));
        EXPECT_THAT(Log(),
                    ElementsAre("INFO " + place + "[a, b] " + member.doing, "INFO " + place + "[a, b] " + member.done));

        Systemctl({{"list-jobs *", "", 1}, {"*", "Job for b.service failed.\nmore\n", 5}});
        EXPECT_FALSE(member.list({"a", "b"}, failed));
        EXPECT_THAT(failed, ElementsAre("b"));
        EXPECT_THAT(Log(), ElementsAre("INFO " + place + "[a, b] " + member.doing,
                                       "ERR " + place + "[b] " + member.failed +
                                           ": ret=[5], reason:\nJob for b.service failed.\nmore\n"));

        Systemctl({{"list-jobs *", "", 1}, {"*", "no bus\n", 1}});
        failed.clear();
        EXPECT_FALSE(member.list({"a", "b"}, failed));
        EXPECT_THAT(failed, IsEmpty());
        EXPECT_EQ(Log().back(), "ERR " + place + "[] " + member.failed + ": ret=[1], reason:\nno bus\n");

        RemoveSystemctl();
        EXPECT_FALSE(member.list({"a", "b"}, failed));
        EXPECT_THAT(failed, ElementsAre("a", "b"));
        EXPECT_EQ(Log().back(), "ERR " + place + "[a, b] " + member.failed + ".");
    }
}

TEST_F(UnitActions, AGroupPushesItsFailedUnitsOnlyWhenItFails)
{
    for (const Member& member : kMembers) {
        SCOPED_TRACE(member.verb);
        const List units = MakeList({"a", "b"});
        MLIBCSzList* failed = MakeList({"before"}).release();
        Systemctl({});
        EXPECT_EQ(member.group(units.get(), &failed), 1);
        EXPECT_THAT(Items(failed), ElementsAre("before"));
        Systemctl({{"list-jobs *", "", 1}, {"*", "Job for b.service failed.\n", 1}});
        EXPECT_EQ(member.group(units.get(), &failed), 0);
        EXPECT_THAT(Items(failed), ElementsAre("before", "b"));
        MLIBCSzList* none = nullptr;
        EXPECT_EQ(member.group(units.get(), &none), 0);
        EXPECT_EQ(none, nullptr);
        MLIBCSzListFree(failed);
    }
}

TEST_F(UnitActions, ASkippedGroupFailsWhole)
{
    Write("/run/merobootseq/boot-step", "2\n");
    Systemctl({{"list-jobs * b.service", "3 b.service start waiting\n", 1}});
    const List units = MakeList({"a", "b"});
    MLIBCSzList* failed = MLIBCSzListAlloc();
    EXPECT_EQ(MEROCSystemdStartGroup(units.get(), &failed), 0);
    EXPECT_THAT(Items(failed), ElementsAre("a", "b"));
    EXPECT_THAT(Actions(), IsEmpty());
    MLIBCSzListFree(failed);
}

TEST_F(UnitActions, OnlyStartsAndStopsAreWrittenToTheEventLog)
{
    Systemctl({{"list-jobs *", "", 1}, {"*", "Job for b.service failed.\n", 1}});
    for (const Member& member : kMembers) {
        Texts failed;
        member.list({"a", "b"}, failed);
        member.single("");
        member.list({}, failed);
    }
    EXPECT_EQ(Read("/run/events"), "0001 a\n0011 b\n0011 b\n0002 a\n0012 b\n0012 b\n")
        << "a refused list still writes what its caller's failed list holds";
}

TEST_F(UnitActions, StartIrreversibly)
{
    EXPECT_TRUE(MEROSystemdStartIrreversibly("a"));
    EXPECT_EQ(MEROCSystemdStartIrreversibly("b"), 1);
    EXPECT_THAT(Calls(),
                ElementsAre("start --job-mode=replace-irreversibly a", "start --job-mode=replace-irreversibly b"));
    EXPECT_EQ(Read("/run/events"), "0001 a\n0001 b\n");
}

} // namespace
