#include "support/child.h"
#include "support/lock.h"
#include "system/box.h"

#include <merosystemd/systemd.h>
#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;
using namespace MERO::Test;
using std::filesystem::exists;

namespace {

const std::string kState = "/run/merosystemd/isolate-state";
const std::string kFlag = "/run/merosystemd/isolate-not-finish-flag";

bool AllLocksAreFree()
{
    return Shell("for l in /run/merosystemd/*.lock /run/merosystemd/locks/*; do flock -n $l true || exit; done")
               .exitCode == 0;
}

/// Also reaps a child that has ended.
bool HasNoChild()
{
    return waitpid(-1, nullptr, WNOHANG) < 0;
}

/// Isolates in a new process. It exits with 0 if all services have stopped and it has no child left.
pid_t StartIsolation(const std::string& target)
{
    return Fork([target] {
        auto result = MERO_SYSTEMD_ISOLATE_WAIT_STOP_PENDING;
        return !MEROSystemdIsolateTarget(target, &result) ? 100 : !HasNoChild() ? 101 : static_cast<int>(result);
    });
}

std::string IsolationTarget()
{
    IsolateState state{.isolating = true, .target = "stale"};
    return !MEROSystemdIsolateStateGet(state) ? "unknown" : state.isolating ? state.target : state.target + "none";
}

class RealIsolation : public Box {
protected:
    RealIsolation()
    {
        prctl(PR_SET_CHILD_SUBREAPER, 1); // processes that outlive isolations become children of this one
        std::filesystem::remove("/etc/systemd/system/default.target"); // it would take precedence
        Unit("default.target", "[Unit]\nAllowIsolate=yes\nWants=mero-sandbox.target daily.service\n");
        Unit("quiet.target", "[Unit]\nAllowIsolate=yes\nWants=mero-sandbox.target\nAfter=first.service\n");
        Unit("daily.service", "[Service]\nExecStart=/bin/sleep infinity\n");
        for (const std::string name : {"first", "last"}) {
            Unit(name + ".service",
                 "[Service]\nExecStart=/bin/sleep infinity\nExecStop=/bin/sh -c 'while [ -e /run/held-" + name +
                     " ]; do sleep 0.05; done'\n");
        }
        Load();
        EXPECT_TRUE(MEROSystemdIsolateToDefaultTarget());
    }
    ~RealIsolation() override
    {
        Shell("rm -f /run/held-*");
        EXPECT_TRUE(Comes(HasNoChild));
        prctl(PR_SET_CHILD_SUBREAPER, 0);
    }

    static void Hold(const std::string& what) { Shell("touch /run/held-" + what); }
    static void Release(const std::string& what) { Shell("rm /run/held-" + what); }

    static void ExpectDefaultTarget()
    {
        EXPECT_EQ(Shell("systemctl is-active default.target daily quiet.target").output, "active\nactive\ninactive\n");
        EXPECT_EQ(IsolationTarget(), "none");
        EXPECT_FALSE(exists(kState) || exists(kState + ".tmp") || exists(kFlag));
        EXPECT_TRUE(Comes(AllLocksAreFree)); // the isolate monitor keeps its lock a moment longer
    }
};

TEST_F(RealIsolation, IsReportedUntilTheLastStop)
{
    ASSERT_TRUE(MEROSystemdStart("first") && MEROSystemdStart("last"));
    Hold("first"); // the target waits for this one
    Hold("last");
    const std::string lock = "/run/merosystemd/locks/isolate-and-volume-unmount-action.lock";
    const pid_t pid = StartIsolation("quiet.target");
    ASSERT_TRUE(Reaches("first", "deactivating"));
    EXPECT_EQ(IsolationTarget(), "quiet.target");
    EXPECT_EQ(Shell("cat " + kState).output, "target=quiet.target\npid=" + std::to_string(pid) + "\n");
    EXPECT_TRUE(exists(kFlag) && !IsFree(lock, 0, LOCK_SH));

    Release("first");
    EXPECT_TRUE(IsFree(lock, 10, LOCK_SH));
    EXPECT_EQ(ActiveState("quiet.target"), "active");
    EXPECT_TRUE(Comes([] { return !exists(kFlag); }));
    EXPECT_EQ(IsolationTarget(), "quiet.target");
    Release("last");
    EXPECT_EQ(ResultOf(pid), 0);
    EXPECT_EQ(Shell("systemctl is-active last daily").output, "inactive\ninactive\n");
    EXPECT_EQ(MEROCSystemdIsolateToDefaultTarget(), 1);
    ExpectDefaultTarget();
}

TEST_F(RealIsolation, AKilledIsolationHoldsNothingUp)
{
    for (const useconds_t milliseconds : {0, 3, 7, 10, 15, 20, 30, 50, 80, 400}) { // before, during and after its steps
        ASSERT_TRUE(MEROSystemdStart("last"));
        Hold("last");
        const pid_t pid = StartIsolation("quiet.target");
        usleep(milliseconds * 1000);
        kill(pid, SIGKILL);
        EXPECT_EQ(ResultOf(pid), 255);
        EXPECT_TRUE(Comes(AllLocksAreFree));
        EXPECT_EQ(IsolationTarget(), exists(kState) ? "unknown" : "none");
        Release("last");
        EXPECT_TRUE(Comes(HasNoChild)); // systemctl goes on without its parent
        ASSERT_TRUE(MEROSystemdIsolateToDefaultTarget());
        ExpectDefaultTarget();
    }
}

TEST_F(RealIsolation, AKilledActionIsolatesBack)
{
    const pid_t pid = Fork([] { return _MEROSystemdIsolateTargetAction("quiet.target", [] { return pause() == 0; }); });
    ASSERT_TRUE(Reaches("quiet.target", "active") && Comes([] { return !exists(kFlag); }));
    kill(pid, SIGKILL);
    EXPECT_EQ(ResultOf(pid), 255);
    EXPECT_TRUE(Reaches("quiet.target", "inactive") && Comes([] { return !exists(kState); }));
    ExpectDefaultTarget();
    // A unit that its own isolation stops.
    Shell("systemd-run -q --unit=runner " MEROSYSTEMCTL " run-in quiet.target -- sleep infinity");
    EXPECT_TRUE(Comes([] {
        return Shell("systemctl is-active runner").output.find("active\n") != 0 && AllLocksAreFree(); // all is over
    }));
    ExpectDefaultTarget();
}

} // namespace
