#include "system/box.h"

#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

using namespace MERO::Test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

using Texts = std::vector<std::string>;

class RealUnitActions : public Box {
protected:
    RealUnitActions()
    {
        Unit("web.service", "[Service]\nExecStart=/bin/sleep infinity\nExecReload=/bin/touch /run/web.reloaded\n"
                            "[X-Tarvix]\nName=Web server\n");
        Unit("db.service", "[Service]\nExecStart=/bin/sleep infinity\n[X-Tarvix]\nName=Database\n");
        Unit("broken.service", "[Service]\nType=oneshot\nExecStart=/bin/false\n[X-Tarvix]\nName=Broken\n");
        Unit("behind.service",
             "[Unit]\nRequires=broken.service\nAfter=broken.service\n[Service]\nExecStart=/bin/sleep infinity\n");
        Unit("slow.service", "[Service]\nType=oneshot\nExecStart=/bin/sleep 60\n");
        Unit("slow-to-stop.service", "[Service]\nExecStart=/bin/sleep infinity\nExecStop=/bin/sleep 60\n");
        Load();
    }

    static std::string MainPid(const std::string& unit)
    {
        return Shell("systemctl show --value -p MainPID " + unit).output;
    }
    static bool Exists(const std::string& path) { return std::filesystem::exists(path); }
};

TEST_F(RealUnitActions, AServiceLivesThroughStartReloadRestartAndStop)
{
    EXPECT_TRUE(MEROSystemdStart("web"));
    EXPECT_EQ(ActiveState("web"), "active");

    EXPECT_TRUE(MEROSystemdReload("web.service"));
    EXPECT_TRUE(Reaches("web", "active"));
    Shell("while systemctl list-jobs --no-legend | grep -q .; do sleep 0.02; done");
    EXPECT_TRUE(Exists("/run/web.reloaded"));

    const std::string before = MainPid("web");
    EXPECT_TRUE(MEROSystemdRestart("web"));
    const std::string between = MainPid("web");
    EXPECT_NE(between, before);
    EXPECT_TRUE(MEROSystemdTryRestart("web"));
    EXPECT_NE(MainPid("web"), between);
    EXPECT_TRUE(MEROSystemdReloadOrRestart("db")); // cannot reload, and is started

    EXPECT_EQ(MEROCSystemdStop("web"), 1);
    EXPECT_EQ(ActiveState("web"), "inactive");
    EXPECT_TRUE(MEROSystemdTryRestart("web"));
    EXPECT_EQ(ActiveState("web"), "inactive") << "what does not run is not tried";
    EXPECT_EQ(ActiveState("db"), "active");

    EXPECT_THAT(Journal(),
                ElementsAre("systemd_start: [web] starting ...", "systemd_start: [web] started.",
                            "systemd_reload: [web.service] reloading ...", "systemd_reload: [web.service] reloaded.",
                            "systemd_restart: [web] restarting ...", "systemd_restart: [web] restarted.",
                            "systemd_restart: [web] try-restarting ...", "systemd_restart: [web] try-restarted.",
                            "systemd_reload_or_restart: [db] doing reload-or-restart ...",
                            "systemd_reload_or_restart: [db] done reload-or-restart.",
                            "systemd_stop: [web] stopping ...", "systemd_stop: [web] stopped.",
                            "systemd_restart: [web] try-restarting ...", "systemd_restart: [web] try-restarted."));
    EXPECT_EQ(Shell("cat /run/events").output, "merosystemd 0001 Web server\nmerosystemd 0002 Web server\n");
}

TEST_F(RealUnitActions, FailedUnitsAreNamedAndTheOthersRun)
{
    // What systemctl says of a failure differs: not found, a failed job, a failed dependency.
    struct Case {
        Texts units, failed, running;
    };
    const Case cases[] = {
        {{"web", "db", "unknown"}, {"unknown"}, {"web", "db"}},
        {{"db.service", "broken"}, {"broken"}, {"db"}},
        {{"behind"}, {"behind"}, {}},
        {{"web", "behind", "unknown.socket"}, {"unknown.socket", "behind"}, {"web"}},
    };
    for (const Case& c : cases) {
        Texts failed;
        EXPECT_FALSE(MEROSystemdStart(c.units, failed));
        EXPECT_THAT(failed, ::testing::UnorderedElementsAreArray(c.failed)) << c.units.back();
        for (const std::string& unit : c.running) {
            EXPECT_EQ(ActiveState(unit), "active") << unit;
        }
        EXPECT_TRUE(MEROSystemdStop({"web", "db"}, failed));
    }
    EXPECT_THAT(Shell("cat /run/events").output, HasSubstr("merosystemd 0001 Web server, Database\n"));
    EXPECT_THAT(Shell("cat /run/events").output, HasSubstr("merosystemd 0011 Broken\n"));
    EXPECT_THAT(Journal(),
                Contains(HasSubstr("systemd_start: [unknown] start failed: ret=[5], reason:\\nFailed to start "
                                   "unknown.service: Unit unknown.service not found.")));
}

TEST_F(RealUnitActions, NoBlockFormsDoNotWait)
{
    Texts failed;
    EXPECT_TRUE(MEROSystemdStartNoBlock("slow"));
    EXPECT_EQ(ActiveState("slow"), "activating");
    std::map<std::uint32_t, MERO::Systemd::JobInfo> jobs;
    EXPECT_TRUE(MEROSystemdIntJobList(jobs));
    ASSERT_EQ(jobs.size(), 1u);
    const std::string number = std::to_string(jobs.begin()->first);
    EXPECT_EQ(jobs.begin()->second.ToString(), number + " slow.service start running");

    EXPECT_TRUE(MEROSystemdStopNoBlock({"slow"}, failed));
    EXPECT_TRUE(Reaches("slow", "failed")) << "stopped while it started";
    EXPECT_TRUE(MEROSystemdIntJobList(jobs));
}

TEST_F(RealUnitActions, AnIrreversibleStartIsNotReplaced)
{
    Texts failed;
    EXPECT_TRUE(MEROSystemdStartWithOptions({"--job-mode=replace-irreversibly", "--no-block"}, {"slow"}, failed));
    EXPECT_FALSE(MEROSystemdStop("slow"));
    EXPECT_EQ(ActiveState("slow"), "activating");
    EXPECT_TRUE(MEROSystemdStartIrreversibly("web"));
    EXPECT_EQ(MEROCSystemdStop("web"), 1) << "its job was done by then";
}

TEST_F(RealUnitActions, ThePolicyReadsTheRealQueue)
{
    ASSERT_TRUE(MEROSystemdStartNoBlock("slow"));
    ASSERT_EQ(ActiveState("slow"), "activating");
    SetBootStep(2);
    (void)Journal();

    Texts failed;
    EXPECT_FALSE(MEROSystemdStart({"web", "slow"}, failed));
    EXPECT_THAT(failed, ElementsAre("web", "slow"));
    EXPECT_EQ(ActiveState("web"), "inactive") << "a skipped command starts none of its units";
    const Texts journal = Journal();
    EXPECT_THAT(journal, Contains(::testing::MatchesRegex("systemd_systemctl: unit is in job list: "
                                                          "\\[[0-9]+ slow.service start running\\]")));
    EXPECT_THAT(journal, Contains("systemd_systemctl: Skip execute by service control policy: "
                                  "[/usr/bin/systemctl start web slow]"));

    EXPECT_FALSE(MEROSystemdRestart("slow"));
    EXPECT_TRUE(MEROSystemdStart("web")) << "a unit without a job is started";
    EXPECT_TRUE(MEROSystemdReload("web"));
    EXPECT_TRUE(MEROSystemdStop("slow")) << "a start job does not keep a stop from running";
    EXPECT_NE(ActiveState("slow"), "activating");

    ASSERT_TRUE(MEROSystemdStartNoBlock("slow"));
    SetBootStep(4);
    EXPECT_TRUE(MEROSystemdStartNoBlock("slow")) << "no policy in this step";
}

TEST_F(RealUnitActions, UnitsThatAreStoppingAreNeitherTriedNorReloaded)
{
    Texts failed;
    ASSERT_TRUE(MEROSystemdStart({"web", "slow-to-stop"}, failed));
    ASSERT_TRUE(MEROSystemdStopNoBlock("slow-to-stop"));
    ASSERT_EQ(ActiveState("slow-to-stop"), "deactivating");
    const std::string before = MainPid("web");
    (void)Journal();

    EXPECT_TRUE(MEROSystemdTryRestart({"slow-to-stop", "web"}, failed));
    EXPECT_NE(MainPid("web"), before);
    EXPECT_TRUE(MEROSystemdReload("slow-to-stop"));
    EXPECT_EQ(ActiveState("slow-to-stop"), "deactivating");
    EXPECT_THAT(Journal(), Contains("systemd_systemctl: [slow-to-stop] type [2] state [1] is going to stop.").Times(2));
    EXPECT_THAT(failed, IsEmpty());
}

TEST_F(RealUnitActions, TheClassicDialectDoesNotUnderstandThisSystemctl)
{
    ASSERT_TRUE(MEROSystemdStartNoBlock("slow"));
    SetDialect("classic");
    std::map<std::uint32_t, MERO::Systemd::JobInfo> jobs;
    EXPECT_FALSE(MEROSystemdIntJobList(jobs)) << "the dialect is what makes the difference";
    SetDialect("current");
    EXPECT_TRUE(MEROSystemdIntJobList(jobs));
    EXPECT_EQ(jobs.size(), 1u);
}

} // namespace
