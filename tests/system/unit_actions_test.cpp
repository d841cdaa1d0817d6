#include "support/child.h"
#include "system/box.h"

#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

#include <pwd.h>

using namespace MERO::Systemd;
using namespace MERO::Test;
using ::testing::ElementsAre;

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
};

TEST_F(RealUnitActions, AServiceLivesThroughStartReloadRestartAndStop)
{
    EXPECT_TRUE(MEROSystemdStart("web"));
    EXPECT_EQ(ActiveState("web"), "active");
    EXPECT_TRUE(MEROSystemdReload("web.service"));
    EXPECT_TRUE(Comes([] { return std::filesystem::exists("/run/web.reloaded"); }) && Reaches("web", "active"));

    const std::string before = MainPid("web");
    EXPECT_TRUE(MEROSystemdRestart("web"));
    const std::string between = MainPid("web");
    EXPECT_NE(between, before);
    EXPECT_TRUE(MEROSystemdTryRestart("web"));
    EXPECT_NE(MainPid("web"), between);
    EXPECT_TRUE(MEROSystemdReloadOrRestart("db")); // cannot reload, and is started
    EXPECT_EQ(MEROCSystemdStop("web"), 1);
    EXPECT_TRUE(MEROSystemdTryRestart("web")) << "what does not run is not tried";
    EXPECT_EQ(ActiveState("web") + ActiveState("db"), "inactiveactive");
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
}

TEST_F(RealUnitActions, JobsAreReadAndObeyed)
{
    Texts failed;
    std::map<std::uint32_t, JobInfo> jobs;
    EXPECT_TRUE(MEROSystemdStartWithOptions({"--job-mode=replace-irreversibly", "--no-block"}, {"slow"}, failed));
    EXPECT_FALSE(MEROSystemdStop("slow")) << "an irreversible start is not replaced";
    EXPECT_EQ(ActiveState("slow"), "activating");
    ASSERT_TRUE(MEROSystemdIntJobList(jobs) && jobs.size() == 1);
    EXPECT_EQ(jobs.begin()->second.ToString(), std::to_string(jobs.begin()->first) + " slow.service start running");
    Shell("systemctl cancel");

    ASSERT_TRUE(MEROSystemdStartNoBlock("slow"));
    SetBootStep(2);
    EXPECT_FALSE(MEROSystemdStart({"web", "slow"}, failed) || MEROSystemdRestart("slow"));
    EXPECT_THAT(failed, ElementsAre("web", "slow"));
    EXPECT_EQ(ActiveState("web"), "inactive") << "a skipped command starts none of its units";
    EXPECT_TRUE(MEROSystemdStart("web") && MEROSystemdReload("web")) << "a unit without a job is started";
    EXPECT_TRUE(MEROSystemdStop("slow")) << "a start job does not keep a stop from running";
    ASSERT_TRUE(MEROSystemdStartNoBlock("slow"));
    SetBootStep(4);
    EXPECT_TRUE(MEROSystemdStartNoBlock("slow") && MEROSystemdStopNoBlock({"slow"}, failed))
        << "no policy in this step";
    EXPECT_TRUE(Reaches("slow", "failed")) << "stopped while it started";
}

TEST_F(RealUnitActions, UnitsThatAreStoppingAreNeitherTriedNorReloaded)
{
    Texts failed;
    ASSERT_TRUE(MEROSystemdStart({"web", "slow-to-stop"}, failed) && MEROSystemdStopNoBlock("slow-to-stop"));
    ASSERT_EQ(ActiveState("slow-to-stop"), "deactivating");
    const std::string before = MainPid("web");
    EXPECT_TRUE(MEROSystemdTryRestart({"slow-to-stop", "web"}, failed) && MEROSystemdReload("slow-to-stop"));
    EXPECT_NE(MainPid("web"), before);
    EXPECT_EQ(ActiveState("slow-to-stop"), "deactivating");
}

/// An ordinary user with a running user manager and a unit of their own.
class UserManager : public Box {
protected:
    UserManager()
    {
        Shell("id walter || useradd --create-home walter");
        uid = getpwnam("walter")->pw_uid;
        Shell("install -D -o walter -m 644 /dev/stdin ~walter/.config/systemd/user/own.service <<-'END'\n"
              "[Service]\nExecStart=/bin/sleep infinity\nEND");
        Shell("chown -R walter ~walter; systemctl start user@" + std::to_string(uid) + ".service");
    }

    /// Calls `body` as the user, with an environment that says nothing of a session.
    template <typename Body>
    int AsUser(Body&& body)
    {
        return RunAs(uid, [&] {
            clearenv();
            return body();
        });
    }

    uid_t uid = 0;
};

TEST_F(UserManager, AUserStartsAndStopsAUnitOfTheirOwn)
{
    const auto isActive = [this] {
        return Shell("XDG_RUNTIME_DIR=/run/user/" + std::to_string(uid) +
                     " setpriv --reuid=walter --clear-groups systemctl --user is-active own")
            .output;
    };
    ASSERT_EQ(Shell("systemctl is-active user@" + std::to_string(uid)).output, "active\n");
    EXPECT_EQ(AsUser([] { return MEROSystemdStart("own"); }), 1);
    EXPECT_EQ(isActive(), "active\n");
    EXPECT_EQ(AsUser([] { return MEROSystemdStop("own"); }), 1);
    EXPECT_EQ(isActive(), "inactive\n");
    // Copies: an ordinary user may not be able to enter the folder that this was built in.
    EXPECT_EQ(Shell("install -D -t /tmp/tool " MEROSYSTEMCTL " " MERO_LIBRARIES " && cd / && setpriv --reuid=walter "
                    "--regid=walter --clear-groups env -i LD_LIBRARY_PATH=/tmp/tool /tmp/tool/merosystemctl start own")
                  .output,
              "");
    EXPECT_EQ(isActive(), "active\n");
    // The system's manager, which they may ask, does not know the unit.
    const auto isUnknown = [] {
        const SystemctlOpts forced = SystemctlOptsBuilder().SetForceSystem(true).Build();
        const auto read = [](int, const auto& lines) { return lines[0] == "LoadState=not-found\n"; };
        return MEROSystemdSystemctlUltron("show", forced, {"--property=LoadState", "own.service"}, read);
    };
    EXPECT_EQ(AsUser(isUnknown), 1);
}

} // namespace
