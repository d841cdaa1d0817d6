#include "support/acting.h"
#include "support/child.h"
#include "support/operations.h"
#include "support/sleeps.h"
#include "support/texts.h"

#include <merosystemd/resource.hpp>

#include <sched.h>
#include <sys/mount.h>

#include <thread>

using namespace MERO::Systemd;
using namespace MERO::Test;
using namespace ::testing;
namespace fs = std::filesystem;

namespace {

const std::string kSystemd = "/sys/fs/cgroup/systemd/", kNone = "none";

struct KillSlice : Machine {
    KillSlice() { Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n"); }
    ~KillSlice() override { fs::remove_all("/sys/fs"), sleeps.areCounted[0] = false, duringSleep = nullptr; }
    /// Folders are not read in order.
    static Texts InOrder(Texts texts)
    {
        for (std::string& text : texts) {
            text = Replaced(Replaced(text, "z.scope x.service", "x.service z.scope"), "z.scope, x.service",
                            "x.service, z.scope");
        }
        return texts;
    }
};

TEST_F(KillSlice, StopsTerminatesWaitsAndKills)
{
    struct Case {
        std::string script, timeout; ///< of systemctl; a line of the slice's file, which is missing when it is "none"
        bool killed;
        unsigned seconds, lives; ///< slept; how many seconds of them a process lives
        Texts calls, said;       ///< behind those of the units' stop
        std::string phases = "0123";
    };
    const std::string key = "SliceKillTimeoutSec=", bad = "ERR Failed to get SliceKillTimeoutSec: [";
    const std::string sentTerm = "INFO has sent SIGTERM to [a-b.slice]", done = "INFO [a-b.slice] killed.";
    const std::string sentKill = "INFO has sent SIGKILL to [a-b.slice]", error = "ERR [a-b.slice] ";
    const std::string failed = "killing failed in process kill phase.";
    const std::string noTerm = error + "SIGTERM " + failed, noKill = error + "SIGKILL " + failed;
    const std::string noStop = error + "killing failed in service stop phase.";
    const Texts one{"stop x.service z.scope", "kill a-b.slice"};
    const Texts both{one[0], one[1], "kill --signal=SIGKILL a-b.slice"};
    const Case cases[] = {
        {"", "", true, 10, 99, both, {sentTerm, sentKill, done}},
        {"", key + "0", true, 0, 99, both, {sentTerm, sentKill, done}},
        {"", key + "+2", true, 2, 99, both, {sentTerm, sentKill, done}},
        {"", key + "-1", true, 10, 99, both, {sentTerm, bad + "stoul]", sentKill, done}},
        {"", key + "x", true, 10, 99, both, {sentTerm, bad + "stoul]", sentKill, done}},
        {"", kNone, true, 10, 99, both, {sentTerm, bad + "Unit is not found [a-b.slice]]", sentKill, done}},
        {"[ $1 != kill ] || > $procs", key + "1", true, 0, 99, one, {sentTerm, done}, "012"},
        {"[ $1 != stop ] || > $procs", key + "0", true, 0, 99, both, {sentTerm, sentKill, done}},
        {"", key + "3", true, 2, 2, one, {sentTerm, done}, "012"},
        {"", key + "3", true, 3, 3, both, {sentTerm, sentKill, done}},
        {"[ $1 != stop ]", key + "1", true, 1, 9, both, {noStop, sentTerm, sentKill, done}},
        {"[ \"$*\" != 'kill a-b.slice' ]", "", true, 1, 1, one, {noTerm, sentTerm, done}, "012"},
        {"[ $1 != kill ]", key + "1", false, 1, 9, both, {noTerm, sentTerm, noKill}},
    };
    const std::string slice = kSystemd + "a.slice/a-b.slice/", procs = slice + "a-b-c.slice/z.scope/d/cgroup.procs";
    const std::string unit = "/usr/lib/systemd/system/a-b.slice";
    sleeps.areCounted[0] = true;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.script + c.timeout);
        c.timeout == kNone ? void(fs::remove(unit)) : Write(unit, "[X-Tarvix]\n" + c.timeout + "\n");
        Write(slice + "x.service/y.service/cgroup.procs", ""), Write(slice + "plain/cgroup.procs", "");
        Write(slice + "cgroup.procs", ""), Write(slice + "../cgroup.procs", "1\n"), Write(procs, "1\n");
        Write(slice + "file.service", ""), Write(slice + "../v.service/cgroup.procs", "1\n");
        SystemctlScript("procs=" + procs + "\n" + c.script);
        sleeps.seconds = 0;
        duringSleep = [&] { sleeps.seconds == c.lives ? Write(procs, "") : void(); };
        std::string phases;
        const auto progress = [&](KillPhase phase) { phases += std::to_string(static_cast<int>(phase)); };
        EXPECT_EQ(MEROSystemdKillSlice("a-b.slice", progress), c.killed);
        EXPECT_TRUE(sleeps.seconds == c.seconds && phases == c.phases) << sleeps.seconds << phases;
        Texts calls = InOrder(Calls()),
              said{"INFO [a-b.slice] killing...", "INFO The following units will be stopped: [x.service, z.scope]"};
        std::erase(calls, "list-jobs --no-legend");
        said.insert(said.end(), c.said.begin(), c.said.end());
        EXPECT_EQ(calls, c.calls);
        EXPECT_EQ(InOrder(Said("systemd_kill_slice")), said);
    }
}

TEST_F(KillSlice, LeavesOutWhatThereIsNothingFor)
{
    const std::string folder = kSystemd + "a.slice/";
    fs::create_directories(folder + "x.service"), Write(kSystemd + "b.slice/cgroup.procs", "1\n");
    for (int times = 0; times < 3; ++times) {
        EXPECT_TRUE(MEROSystemdKillSlice("a.slice") && Calls().empty());
        EXPECT_EQ(Said("systemd_kill_slice"), Texts{"INFO There is no alive process in [a.slice], skip kill slice"});
        times == 0 ? Write(folder + "x.service/cgroup.procs", "") : void(fs::remove_all(folder));
    }
    fs::create_directories(folder + "plain/x.service"), Write(folder + "cgroup.procs", "1\n");
    RemoveSystemctl();
    Write("/usr/lib/systemd/system/a.slice", "[X-Tarvix]\nSliceKillTimeoutSec=0\n");
    EXPECT_FALSE(MEROSystemdKillSlice("a.slice"));
    EXPECT_THAT(Said("systemd_kill_slice"), Contains("INFO There is no units in [a.slice], skip stop units"));
    for (const std::string name : {"a", "x.service", "../systemd/a.slice", "a.slice/", "/a.slice"}) {
        EXPECT_TRUE(!MEROSystemdKillSlice(name) && MLIBCErrGet() == 0x0D00) << name;
        EXPECT_EQ(Said("systemd_kill_slice"), Texts{"!strSlice.empty() && IsSliceName(strSlice)"}) << name;
    }
}

TEST_F(KillSlice, KillsNothingThatItCannotSee)
{
    const auto withoutHierarchy = [] {
        const auto kills = [] { return MEROSystemdKillSlice("mero.slice") ? "1" : "0"; };
        const std::string shown = "/proc/" + std::to_string(getpid()) + "/cgroup";
        unshare(CLONE_NEWNS), mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
        std::string killed = kills();
        Write("/run/cgroup", "0::/mero.slice/x.service\n"),
            mount("/run/cgroup", shown.c_str(), nullptr, MS_BIND, nullptr);
        killed += kills(), mount("tmpfs", "/proc", "tmpfs", 0, nullptr);
        return killed + kills() == "100" ? 0 : 1;
    };
    EXPECT_EQ(RunAs(0, withoutHierarchy), 0);
    const std::string unknown =
        "ERR [mero.slice] is not killed: without systemd's cgroup hierarchy its processes are not known.";
    EXPECT_EQ(Said("systemd_kill_slice"),
              (Texts{"INFO There is no alive process in [mero.slice], skip kill slice", unknown, unknown}));
    EXPECT_TRUE(Calls().empty());
    Write(kSystemd + "cgroup.procs", "1\n");
    Write("/usr/lib/systemd/system/-.slice", "[X-Tarvix]\nSliceKillTimeoutSec=0\n");
    EXPECT_TRUE(MEROSystemdKillSlice("-.slice")) << "as the caller says";
    EXPECT_THAT(Said("systemd_kill_slice"), Contains("WARNING [-.slice] holds the process that kills it."));
}

TEST_F(KillSlice, AThreadMayEndInIt)
{
    Write(kSystemd + "a.slice/cgroup.procs", "1\n");
    sleeps.areCounted[0] = true;
    for (int at = 0; at < 10; ++at) { // in a phase of the killing, or in a sleep
        bool hasReturned = false;
        const auto end = [=](int phase) { phase == at % 5 ? (void)Act(at < 5 ? 3 : 4) : void(); };
        duringSleep = [=] { end(4); };
        std::thread([&] {
            const auto progress = [=](KillPhase phase) { end(static_cast<int>(phase)); };
            hasReturned = MEROSystemdKillSlice("a.slice", progress);
        }).join();
        EXPECT_EQ(hasReturned, at >= 5) << at;
    }
}

TEST_F(KillSlice, FindsNamesThatMeanSomethingToTheKernel)
{
    const std::string procs = kSystemd + "_io.slice/io-deep.slice/_memory.service/cgroup.procs";
    Write(procs, "1\n");
    SystemctlScript("[ $1 != stop ] || > " + procs);
    EXPECT_TRUE(MEROSystemdKillSlice("io-deep.slice"));
    EXPECT_EQ(Calls(), (Texts{"stop memory.service", "kill io-deep.slice"}));
}

} // namespace
