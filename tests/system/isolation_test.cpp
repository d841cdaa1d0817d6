#include "system/box.h"

#include <merosystemd/systemd.h>
#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <iostream>
#include <random>

using namespace MERO::Systemd;
using namespace MERO::Test;
using std::filesystem::exists;

namespace {

const std::string kState = "/run/merosystemd/isolate-state";
const std::string kFlag = "/run/merosystemd/isolate-not-finish-flag";
const std::string kOperationLock = "/run/merosystemd/locks/system-operation.lock";
const std::string kMonitorLock = "/run/merosystemd/status_monitor.exit.lock";
const std::string kAllLocks = "/run/merosystemd/*.lock /run/merosystemd/locks/*";

/// Whether somebody keeps others from taking one of the locks, exclusively ("-x") or shared ("-s").
bool IsHeld(const std::string& locks, const std::string& mode)
{
    return Shell("for l in " + locks + "; do flock -n " + mode + " $l true || exit; done").exitCode != 0;
}

/// Takes one that has ended away.
bool HasNoChild()
{
    return waitpid(-1, nullptr, WNOHANG) < 0;
}

/// Isolates in a process of its own. It exits with 0 when all services have stopped and no child is left to it.
pid_t StartIsolation(const std::string& target)
{
    const pid_t pid = fork();
    if (pid == 0) {
        auto result = MERO_SYSTEMD_ISOLATE_WAIT_STOP_PENDING;
        _exit(!MEROSystemdIsolateTarget(target, &result) ? 100 : !HasNoChild() ? 101 : static_cast<int>(result));
    }
    return pid;
}

int WaitStatus(pid_t pid)
{
    int status = -1;
    waitpid(pid, &status, 0);
    return status;
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
        prctl(PR_SET_CHILD_SUBREAPER, 1); // what isolations leave running becomes a child of this process
        std::filesystem::remove("/etc/systemd/system/default.target"); // would win
        Unit("default.target", "[Unit]\nAllowIsolate=yes\nWants=mero-sandbox.target daily.service\n");
        Unit("quiet.target", "[Unit]\nAllowIsolate=yes\nWants=mero-sandbox.target\nAfter=first.service\n");
        Unit("daily.service", "[Service]\nExecStart=/bin/sleep infinity\n");
        for (const std::string name : {"first", "last"}) {
            Unit(name + ".service", "[Service]\nExecStart=/bin/sleep infinity\nExecStop=" + UntilReleased(name) + "\n");
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

    static std::string UntilReleased(const std::string& what)
    {
        return "/bin/sh -c 'while [ -e /run/held-" + what + " ]; do sleep 0.05; done'";
    }
    static void Hold(const std::string& what) { Shell("touch /run/held-" + what); }
    static void Release(const std::string& what) { Shell("rm /run/held-" + what); }

    static void ExpectDefaultTarget()
    {
        EXPECT_EQ(Shell("systemctl is-active default.target daily quiet.target").output, "active\nactive\ninactive\n");
        EXPECT_EQ(IsolationTarget(), "none");
        EXPECT_FALSE(exists(kState) || exists(kState + ".tmp") || exists(kFlag));
        EXPECT_TRUE(
            Comes([] { return !IsHeld(kAllLocks, "-x"); })); // the isolate monitor keeps its lock a moment longer
    }
};

TEST_F(RealIsolation, ItIsSeenFromTheLastVolumeUnmountToTheLastStop)
{
    ASSERT_TRUE(MEROSystemdStart("first") && MEROSystemdStart("last"));
    Hold("first"); // the target waits for this one
    Hold("last");
    const int unmount = open("/run/merosystemd/locks/isolate-and-volume-unmount-action.lock", O_RDWR);
    const auto startUnmount = [&] { return flock(unmount, LOCK_SH | LOCK_NB) == 0; };
    ASSERT_TRUE(Comes(startUnmount));
    const pid_t pid = StartIsolation("quiet.target");
    EXPECT_TRUE(Comes([] { return IsHeld(kOperationLock, "-s"); }));
    sleep(1);
    EXPECT_FALSE(exists(kState) || exists(kFlag));
    EXPECT_EQ(ActiveState("daily"), "active");

    flock(unmount, LOCK_UN);
    ASSERT_TRUE(Reaches("first", "deactivating"));
    EXPECT_EQ(IsolationTarget(), "quiet.target");
    EXPECT_EQ(Shell("cat " + kState).output, "target=quiet.target\npid=" + std::to_string(pid) + "\n");
    EXPECT_TRUE(exists(kFlag) && !startUnmount());

    Release("first");
    EXPECT_TRUE(Comes(startUnmount));
    EXPECT_EQ(ActiveState("quiet.target"), "active");
    const auto hasLine = ::testing::Contains("systemd_isolate_target: wait stop service [last.service]");
    EXPECT_TRUE(Comes([&] { return ::testing::Value(Journal(), hasLine); }));
    EXPECT_FALSE(exists(kFlag));
    EXPECT_EQ(IsolationTarget(), "quiet.target");
    Release("last");
    EXPECT_EQ(WaitStatus(pid), 0);
    EXPECT_EQ(Shell("systemctl is-active last daily").output, "inactive\ninactive\n");
    close(unmount);
    EXPECT_EQ(MEROCSystemdIsolateToDefaultTarget(), 1);
    ExpectDefaultTarget();
}

TEST_F(RealIsolation, AKilledOneHoldsNothingUp)
{
    const char* kills = std::getenv("MERO_KILLS");
    std::map<std::string, int> hits;
    for (int left = kills != nullptr ? std::atoi(kills) : 15; left > 0; --left) {
        ASSERT_TRUE(MEROSystemdStart("last"));
        Hold("last");
        const pid_t pid = StartIsolation("quiet.target");
        std::random_device random; // up to 400 ms, as a product: most steps come early
        usleep(random() % 74 * (random() % 74) * (random() % 74));
        kill(pid, SIGKILL);
        EXPECT_EQ(WaitStatus(pid), SIGKILL);
        EXPECT_TRUE(Comes([] { return !IsHeld(kAllLocks, "-x"); }));
        EXPECT_EQ(IsolationTarget(), exists(kState) ? "unknown" : "none");
        ++hits[!exists(kState)                           ? "without state"
               : exists(kFlag)                           ? "with the flag"
               : ActiveState("quiet.target") == "active" ? "after the flag"
                                                         : "before the flag"];
        Release("last");
        EXPECT_TRUE(Comes(HasNoChild)); // systemctl goes on without its parent
        ASSERT_TRUE(MEROSystemdIsolateToDefaultTarget());
        ExpectDefaultTarget();
    }
    std::cout << ::testing::PrintToString(hits) << "\n";
}

TEST_F(RealIsolation, TheMachineComesBackWhateverTheActionDid)
{
    int calls = 0;
    const auto act = [&](const std::string& target, const std::function<bool()>& ending) {
        ExpectDefaultTarget();
        MEROSystemdStop("daily");
        return _MEROSystemdIsolateTargetAction(target, [&] {
            EXPECT_TRUE(IsHeld(kOperationLock, "-s"));
            EXPECT_EQ(ActiveState("quiet.target"), "active");
            return ++calls, ending();
        });
    };
    EXPECT_TRUE(act("quiet.target", [] { return true; }));
    EXPECT_FALSE(act("quiet.target", [] { return false; }));
    EXPECT_THROW(act("quiet.target", nullptr), std::bad_function_call);
    EXPECT_FALSE(act("basic.target", nullptr)) << "cannot be isolated to";
    ExpectDefaultTarget();
    const auto count = [](void* pValue) { return ++*static_cast<int*>(pValue) == 4; };
    EXPECT_EQ(MEROCSystemdIsolateTargetAction("quiet.target", count, &calls), 1);
    EXPECT_EQ(MEROCSystemdIsolateTargetAction("quiet.target", count, &calls), 0);
    ExpectDefaultTarget();
    EXPECT_EQ(calls, 5);
}

TEST_F(RealIsolation, TheMonitorScriptRunsInTheBackgroundWithItsLock)
{
    const std::string script = "/usr/mero/lib/systemd/scripts/mero-systemd-status-monitor.sh";
    Shell("install -D /dev/stdin " + script + " <<'END'\n#!/bin/sh\n" + UntilReleased("script") +
          "\necho end; exit 3\nEND");
    Hold("script");
    EXPECT_EQ(WaitStatus(StartIsolation("quiet.target")), 0);
    EXPECT_TRUE(IsHeld(kMonitorLock, "-x") && !IsHeld(kMonitorLock, "-s") && !IsHeld(kOperationLock, "-x"));
    Release("script");
    EXPECT_TRUE(Comes([] { return !IsHeld(kAllLocks, "-x"); }));
    EXPECT_THAT(Journal(), ::testing::Contains("status_monitor: Run mero-systemd-status-monitor.sh failed, code: [3], "
                                               "output: [end\\n]"));
    std::filesystem::remove(script);
}

} // namespace
