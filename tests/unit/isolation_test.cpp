#include "core/lock.h"
#include "isolate/isolate_monitor.h"
#include "support/child.h"
#include "support/lock.h"
#include "support/operations.h"
#include "support/sleeps.h"

#include <fstream>
#include <thread>

using namespace MERO::Systemd;
using namespace MERO::Test;
using namespace ::testing;
using namespace std::string_literals;

namespace {

const std::string kRun = "/run/merosystemd/", kState = kRun + "isolate-state", kFlag = kRun + "isolate-not-finish-flag";
const std::string kLock = kIsolateAndVolumeUnmountLock, kSystemLock = kRun + "locks/system-operation.lock";
const std::string kMonitorLock = kRun + "status_monitor.exit.lock", kList = "list-jobs --no-legend";
const std::string kNoJobs = "ERR Failed to get systemd jobs";

class Isolation : public Machine {
protected:
    Isolation() { Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n"); }
    ~Isolation() override
    {
        sleeps.areCounted[0] = sleeps.areCounted[1] = false;
        NothingIsLeft();
    }
    static void NothingIsLeft()
    {
        EXPECT_TRUE(IsFree(kSystemLock, 60) && IsFree(kLock, 60) && IsFree(kMonitorLock, 60));
        EXPECT_FALSE(fs::exists(kState) || fs::exists(kFlag) || fs::exists(kRun + "locks/isolate-state.lock"));
    }
};

TEST_F(Isolation, CleansUpHoweverItEnds)
{
    constexpr int kUntouched = 3; // not a result, but a valid value
    struct Case {
        std::string script, folder; ///< systemctl's script; a folder in the way
        bool done;
        int result;
        Texts said; ///< without the lines about start and success
        Texts calls{kList, "isolate a.target", kList};
        std::string with = "";
    };
    const std::string busy = "[ $1 != isolate ] || { rm " + kFlag + "; mkdir -p " + kFlag + "/d; }\n";
    const std::string freed = "[ ! -d " + kFlag + " -o $1 = isolate ] || { rm -r " + kFlag + "; > " + kFlag + "; }";
    const std::string isFolder = "[Is a directory]", noFlag = "ERR Failed to delete " + kFlag + ": " + isFolder;
    const std::string noState = "ERR Failed to unlink [" + kState + "], reason: " + isFolder;
    const std::string noUpdate = "ERR Failed to update isolate state", badFlag = "ERR Failed to touch isolate flag";
    const std::string failed = "ERR isolate to [a.target] failed: ret=[4], reason=[a\n, b\n]";
    const Texts unwaited{kList, "isolate a.target"};
    const Case cases[] = {
        {"", "", true, 0, {}, {kList, "isolate --no-block a.target", kList}, " with option [--no-block]"},
        {"[ $1 = list-jobs ] || { echo a; echo b; exit 4; }", "", false, kUntouched, {failed}, unwaited},
        {"[ $1 = isolate ]", "", true, 2, {kNoJobs}, unwaited},
        {"none", "", false, 2, {kNoJobs, "ERR isolate to [a.target] failed."}, {}},
        {"", kFlag, false, kUntouched, {badFlag}, {}},
        {busy, "", true, 0, {noFlag, noFlag}},
        {busy + freed, "", true, 0, {noFlag}},
        {"", kState + ".tmp/d", true, 0, {noState, noUpdate}},
        {"", kState + "/d", true, 0, {"ERR Failed to rename isolate state file: Is a directory", noUpdate, noState}},
        {"", kMonitorLock, true, 0, {"ERR Failed to monitor systemd status in isolation"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(PrintToString(c.said));
        fs::create_directories(c.folder.empty() ? kRun : c.folder);
        SystemctlScript(c.script);
        c.script == "none" ? RemoveSystemctl() : void();
        auto result = static_cast<MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT>(kUntouched);
        Texts seen;
        const auto see = [&](int exitCode, const Texts& lines) {
            seen = lines, seen.push_back(std::to_string(exitCode));
        };
        EXPECT_EQ(MEROSystemdIsolateTargetObserved("a.target", {.noBlock = !c.with.empty()}, &result, see), c.done);
        EXPECT_EQ(seen, c.calls.empty() ? Texts() : c.done ? Texts{"0"} : Texts({"a\n", "b\n", "4"}));
        EXPECT_EQ(result, c.result);
        EXPECT_EQ(Calls(), c.calls);
        Texts said = Said("systemd_isolate_target");
        EXPECT_EQ(std::erase(said, "INFO isolating to [a.target]."), c.folder != kFlag);
        EXPECT_EQ(std::erase(said, "INFO isolated to [a.target]" + c.with + "."), c.done);
        EXPECT_EQ(said, c.said);
        for (const std::string& path : {kState, kFlag, kMonitorLock}) {
            EXPECT_TRUE(!fs::is_directory(path) || fs::remove_all(path) > 0);
        }
        NothingIsLeft();
        fs::remove_all(kRun);
    }
}

TEST_F(Isolation, WaitsForItsOwnStopJobs)
{
    struct Case {
        std::string jobs; ///< a script that lists jobs; $n is 0 before the isolation, then the number of the pass
        unsigned seconds, waits;
        int result;
        Texts said = {};
    };
    const std::string old = "echo 1 o.service stop running\n", own = "[ $n = 0 ] || echo 9 b.service stop running\n";
    const std::string now = "INFO The following job are still in job lists:", oldJob = "INFO 1 o.service stop running";
    const std::string before = "INFO The following job are alreay in job lists before isolation:";
    const std::string end = "INFO Isolation didn't wait some running jobs.", ownJob = "INFO 9 b.service stop running";
    const Case cases[] = {
        {old + "[ $n = 0 ] || echo 5 b.service start running", 0, 0, 0},
        {"case $n in [123]) echo 9 b.service stop waiting;; esac", 3, 2, 0},
        {"[ $n != 1 ] || exit 1; [ $n = 3 ] || " + own, 2, 0, 0, {kNoJobs}},
        {old + own, 300, 150, 1, {now, oldJob, ownJob, before, oldJob, end}},
        {"[ $n != 300 ] || exit 1\n" + own, 300, 150, 2, {kNoJobs, now, before, end}},
    };
    sleeps.areCounted[0] = true;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.jobs);
        Write("/run/n", "0\n");
        SystemctlScript("[ $1 != isolate ] || exit 0; read n < /run/n; echo $((n+1)) > /run/n\n" + c.jobs + "\nexit 0");
        MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT result;
        sleeps.seconds = 0;
        EXPECT_TRUE(MEROSystemdIntIsolateTarget("a.target", &result));
        EXPECT_TRUE(result == c.result && sleeps.seconds == c.seconds) << result << sleeps.seconds;
        Texts said = Said("systemd_isolate_target");
        EXPECT_EQ(std::erase(said, "INFO wait stop service [b.service]"), c.waits);
        EXPECT_EQ(Texts(said.begin() + 2, said.end()), c.said);
    }
}

TEST_F(Isolation, WaitsForItsLocksOrDoesNothing)
{
    FileLock system(kSystemLock, true, 0), unmount(kLock, false, 0), exit(kMonitorLock, true, 0);
    EXPECT_TRUE(system.Acquire() && unmount.Acquire() && exit.Acquire());
    std::thread others([&] {
        for (FileLock* lock : {&system, &unmount, &exit}) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            lock->Release();
        }
    });
    EXPECT_TRUE(MEROSystemdIsolateTarget("a.target", nullptr) && Calls().size() == 3);
    others.join();
    EXPECT_EQ(Said("systemd_isolate_target").size(), 2U);
    EXPECT_TRUE(IsFree(kLock, 60) && IsFree(kMonitorLock, 60) && fs::remove_all(kRun));
    Write(kRun + "locks", "");
    EXPECT_FALSE(MEROSystemdIsolateTarget("a.target", nullptr) || MEROSystemdIntIsolateTarget("a.target", nullptr) ||
                 _MEROSystemdIsolateTargetAction("a.target", nullptr) || !Calls().empty());
    const std::string made = "ERR failed to mkdir [/run/merosystemd/locks]";
    const std::string lock = "ERR failed to get lock for [a.target], lock is [", one = lock + kSystemLock + "].";
    EXPECT_THAT(Said("lock"), ElementsAre(made, one, made, lock + kLock + "].", made, one));
    fs::remove(kRun + "locks");
}

TEST_F(Isolation, ItsMonitorHoldsTheLockUntilTheCommandRuns)
{
    const auto monitor = [] {
        Write(kFlag, "");
        FileLock lock(kLock, true, 60), other(kSystemLock, true, 0);
        return other.Acquire() && lock.Acquire() && StartIsolateMonitor(lock);
    };
    const auto isHeld = [] { return IsFree(kSystemLock, 30) && !IsFree(kLock); };
    SystemctlScript("flock -w 60 " + kLock + " true");
    EXPECT_TRUE(monitor() && isHeld());
    EXPECT_TRUE(MEROSystemdSystemctl("isolate", {"a"}, [](int exitCode, const Texts&) { return exitCode == 0; }));
    EXPECT_TRUE(monitor() && isHeld() && fs::remove(kFlag) && IsFree(kLock, 60));
    EXPECT_TRUE(RunAs(0, monitor) == 1 && IsFree(kLock, 60)) << "its parent has ended";
    EXPECT_TRUE(Said("systemd_isolate_target").empty());
    fs::rename("/bin/ps", "/bin/ps.true");
    WriteProgram("/bin/ps", "echo /usr/bin/systemctl isolate a; exit 1");
    sleeps.areCounted[1] = true;
    sleeps.microseconds = 0;
    EXPECT_TRUE(monitor() && IsFree(kLock, 60) && sleeps.microseconds == 120'000'000 && fs::remove(kFlag));
    EXPECT_EQ(Said("systemd_isolate_target"), Texts{"ERR Isolate doesn't execute successfully"});
    fs::rename("/bin/ps.true", "/bin/ps");
}

TEST_F(Isolation, TheStateIsReported)
{
    const std::string pid = "\npid=" + std::to_string(getpid()), name(63, 'a'), no = "no", a = "target=a\npid=";
    std::map<std::string, std::string> cases{
        {"target=a.target" + pid, "a.target"}, {"target=" + name + "b" + pid, name}, {"target=" + pid, ""}};
    for (const std::string& text : {pid, "target=a"s, a + "x", a + "99999999999999999999", a + "2147483647", a + "-1",
                                    a + std::to_string(getpid() + (1LL << 32))}) {
        cases[text] = no;
    }
    IsolateState state{.isolating = true, .target = "before"};
    MERO_SYSTEMD_ISOLATE_STATE record{7, "before"};
    EXPECT_TRUE(MEROSystemdIsolateStateGet(state) && !state.isolating && state.target.empty());
    EXPECT_TRUE(MEROCSystemdIsolateStateGet(&record) && !record.isolating && !*record.target);
    for (const auto& [file, target] : cases) {
        Write(kState, file);
        const bool isReported = target != no;
        EXPECT_TRUE(MEROSystemdIsolateStateGet(state = {true, no}) == isReported && state.isolating == isReported)
            << file;
        EXPECT_TRUE(MEROCSystemdIsolateStateGet(&(record = {7, "no"})) == isReported &&
                    record.isolating == (isReported ? 1 : 7));
        EXPECT_TRUE(record.target == target && state.target == (isReported ? target : "")) << file;
    }
    EXPECT_THAT(Said("systemd_isolate_state_get"), Contains(StartsWith("ERR Failed to get pid from")));
    fs::remove(kState), Write("/run/state", "target=a.target" + pid); // comes and goes while it is read
    const pid_t isolations = Fork([] {
        while (link("/run/state", kState.c_str()) == 0 && unlink(kState.c_str()) == 0) {
        }
        return 0;
    });
    int failures = 0;
    (void)Log();
    for (int i = 0; i < 20'000; ++i) {
        failures += MEROSystemdIsolateStateGet(state) ? 0 : 1;
    }
    EXPECT_TRUE(kill(isolations, SIGKILL) == 0 && ResultOf(isolations) == 255 && failures == 0 && Log().empty());
    fs::remove(kState);
}

TEST_F(Isolation, AnActionRunsBetweenTwoIsolations)
{
    struct Case {
        std::string failing; ///< the target that fails
        int acts = 1;        ///< see Act
        bool done = false;
        Texts calls{"isolate a.target", "action", "isolate default.target"};
    };
    const Case cases[] = {{"", 0},
                          {"", 1, true},
                          {"", 2},
                          {"", 3},
                          {"", 4, true},
                          {"default.target"},
                          {"a.target", 1, false, {"isolate a.target", "isolate default.target"}}};
    for (const Case& c : cases) {
        SystemctlScript("for lock in " + kSystemLock + " " + kMonitorLock +
                        "; do flock -n $lock true && > /run/free; done; [ \"$2\" != '" + c.failing + "' ]");
        std::function<bool()> action = [&] {
            std::ofstream("/run/systemctl.calls", std::ios::app) << (IsFree(kSystemLock) ? "free\n" : "action\n");
            return Act(c.acts);
        };
        const auto fromC = [](void* data) { return (*static_cast<std::function<bool()>*>(data))(); };
        int done = 0;
        std::thread([&] { done = MEROCSystemdIsolateTargetAction("a.target", fromC, &action); }).join();
        EXPECT_EQ(done, c.done);
        Texts calls = Calls();
        std::erase(calls, kList);
        EXPECT_EQ(calls, c.calls);
        EXPECT_TRUE(IsFree(kSystemLock, 60) && !fs::exists("/run/free"));
    }
    EXPECT_THROW(_MEROSystemdIsolateTargetAction("b", nullptr), std::bad_function_call);
    EXPECT_THAT(Calls(), ElementsAre(kList, "isolate b", kList, kList, "isolate default.target", kList));
    EXPECT_THAT(Said("systemd_isolate_target_action"), ElementsAre("ERR Failed on an exception: it has no text"));
}

} // namespace
