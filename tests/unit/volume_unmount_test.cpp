#include "core/lock.h"
#include "core/text.h"
#include "core/text_reader.h"
#include "support/child.h"
#include "support/lock.h"
#include "support/operations.h"
#include "support/waiting.h"
#include "volume/mount_path.h"
#include "volume/mount_table.h"
#include "volume/start_again.h"
#include "volume/text_table.h"
#include "volume/unmount_record.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

using namespace MERO::Systemd;
using namespace MERO::Test;
using namespace ::testing;
using namespace std::string_literals;

namespace {

// Other runs of these tests share the machine's processes, but not this path.
const std::string kVolume = "/run/pool-" + std::to_string(getpid()), kTargets = "/run/systemd/system/unmount-volume-";
const std::string kRun = "/run/merosystemd/", kLock = kRun + "locks/volume-unmount-action.lock",
                  kAll = "VolumeDependency=all";
const std::string kMonitorLock = kRun + "status_monitor.exit.lock", kIsolateLock = kIsolateAndVolumeUnmountLock;

/// A process in a cgroup that uses files until it ends.
struct Holder : Waiting {
    Holder(const std::string& cgroup, const std::function<void()>& use) : Waiting(use)
    {
        Machine::Write("/run/cgroup-" + id, "1:name=systemd:/" + cgroup);
        EXPECT_EQ(mount(("/run/cgroup-" + id).c_str(), File("cgroup").c_str(), "", MS_BIND, ""), 0); // goes with it
    }
    const std::string id = std::to_string(pid);
};

struct VolumeUnmount : Machine {
    /// Writes unit files with these keys, which systemctl lists. The systemctl command `failing` fails.
    void SetUnits(const std::vector<std::pair<std::string, Texts>>& files, const std::string& failing = "none")
    {
        std::string script = "case \"$*\" in '" + failing + "') exit 3;; list-unit-files*) echo '";
        for (const auto& [keys, units] : files) {
            for (const std::string& unit : units) {
                Write("/usr/lib/systemd/system/" + unit, "[X-Tarvix]\n" + keys + "\n"), script += unit + " enabled\n";
            }
        }
        SystemctlScript(script +
                        "';; show*ing.service) echo ActiveState=${4%.service};; show*) echo ActiveState=active;; "
                        "daemon-reload) cat " +
                        kTargets + "* | sort > /run/seen;; esac");
    }
};

TEST_F(VolumeUnmount, APathBelongsToTheVolumeItLeadsTo)
{
    const std::string a = kVolume + "/a", b = kVolume + "/d/b";
    Write(a, "text"), Write(b, "text"), Write(kVolume + "0/c", "text");
    fs::create_symlink(b, "/run/link"), fs::create_symlink(kVolume + "/d", "/run/into");
    fs::create_symlink("/etc", kVolume + "/out"), fs::create_symlink("/etc/passwd", kVolume + "/away");
    std::vector<std::pair<std::string, std::string>> cases{
        {kVolume, kVolume},       {a, a},
        {"/run/link", b},         {"/run/into", kVolume + "/d"},
        {"/run/into/b", b},       {"/run/into/../a", a},
        {kVolume + "/", kVolume}, {kVolume + "/d/..", kVolume},
    };
    for (const std::string path : {"0", "0/c", "/a/", "/out", "/out/passwd", "/away", "/none/a", "/none", "/a/x"}) {
        cases.emplace_back(kVolume + path, "");
    }
    for (const std::string& path : {"/run"s, "/"s, a + " (deleted)", a.substr(1), ""s, "pipe:[1]"s}) {
        cases.emplace_back(path, "");
    }
    MountPath known(kVolume), trailing(kVolume + "/"), root("/");
    for (const auto& [path, resolved] : cases) {
        EXPECT_TRUE(MountPath(kVolume).Match(path) == resolved && known.Match(path) == resolved) << path;
        EXPECT_TRUE(trailing.Match(path).empty() && root.Match(path) == (path == "/" ? "/" : "")) << path;
    }
    fs::create_symlink("/", "/run/root");
    EXPECT_EQ(MountPath("/run").Match("/run/root/run"), "/run");
    struct stat status;
    ASSERT_TRUE(stat(kVolume.c_str(), &status) == 0 && mknod("/run/node", S_IFBLK | 0600, status.st_dev) == 0);
    MountPath device("/run/node");
    EXPECT_TRUE(device.Match(a) == a && device.Match("/run/into/b") == b && device.Match("/run/node") == "/run/node");
    EXPECT_TRUE(device.Match("/etc/passwd").empty() && device.Match("/usr/mero").empty() &&
                device.Match("/run/none").empty());
}

TEST_F(VolumeUnmount, FilesAreReadInWholeLines)
{
    const std::string path = "/run/lines";
    std::string many;
    for (int i = 0; i < 50'000; ++i) {
        many += "line " + std::to_string(i) + "\n";
    }
    const std::string longerThanTheBuffer = many + "end", line(300'000, 'x'), inTheMiddle = "a\n" + line + "\nend";
    TextReader reader;
    for (const std::string& text :
         {""s, "\n"s, "end"s, "a\nb\n"s, "a\nend"s, many, longerThanTheBuffer, line, inTheMiddle}) {
        Write(path, text);
        std::string seen;
        EXPECT_TRUE(reader.ReadLines(AT_FDCWD, path.c_str(), [&](std::string_view lines) {
            seen += lines;
            EXPECT_TRUE(lines.ends_with('\n') || seen.size() == text.size());
            return !lines.empty();
        }));
        EXPECT_TRUE(seen == text && reader.Read(AT_FDCWD, path.c_str()) == text) << text.substr(0, 20);
    }
    int pieces = 0;
    const auto one = [&](std::string_view) { return ++pieces < 1; };
    EXPECT_TRUE(reader.ReadLines(AT_FDCWD, path.c_str(), one) && pieces == 1);
    EXPECT_FALSE(reader.ReadLines(AT_FDCWD, "/run/none", one) || errno != ENOENT);
    EXPECT_FALSE(reader.ReadLines(AT_FDCWD, "/", one) || errno != EISDIR);
}

TEST_F(VolumeUnmount, ATableKeepsItsTextsWhileItGrows)
{
    TextTable table;
    for (const char* round : {"new", "known"}) {
        for (int i = 0; i < 5000; ++i) {
            const std::string number = std::to_string(i);
            TextTable::Entry& entry = table["text " + number];
            EXPECT_EQ(entry.value, round == std::string("new") ? "" : "value " + number);
            entry.value = table.Keep({"value ", number});
        }
    }
}

TEST_F(VolumeUnmount, ListingUsersFailsWithoutProc)
{
    const auto list = [] {
        Texts services{"before"};
        return chroot("/run") == 0 && !MEROSystemdServiceListByMntPath("/", services) && MLIBCErrGet() == 0x0900 &&
               services.size() == 1;
    };
    EXPECT_EQ(RunAs(0, list), 1);
    bool skip = true;
    EXPECT_TRUE(!MEROSystemdServiceSkipListByMntPath("none", skip) && MLIBCErrGet() == 0x0700 && skip);
}

TEST_F(VolumeUnmount, ThePlanNamesStopsCausesAndBlockers)
{
    const std::string some = "VolumeDependency=partial", program = kVolume + "/sleeps-very-long", d = kVolume + "/d/e";
    SetUnits({{kAll, {"all.service", "activating.service", "reloading.service", "deactivating.service"}},
              {some, {"b.mount", "other.service", "pkgctl-Foo.service", "pkgctl-Bar.service", "pkgctl-Baz.socket"}},
              {kAll + "\nMaster=all.service", {"slave.service"}},
              {"", {"none.service"}},
              {"SkipListByMntPath=yes", {"deaf.service"}},
              {"SkipListByMntPath=Yes", {"keen.service"}}});
    for (const char* unit : {"b.mount", "pkgctl-Bar.service", "pkgctl-Baz.socket", "none.service"}) {
        EXPECT_TRUE(MEROSystemdVolumeRegister(unit, kVolume) && MEROSystemdVolumeRegister("other", kVolume + "0"));
    }
    EXPECT_TRUE(fs::create_directories("/var/packages/Foo") && MEROSystemdPackageVolumeRegister("Foo", kVolume));
    Write(kVolume + "/a b", "text"), Write(kVolume + "/d/f", "text"), Write(kVolume + "0/c", ""),
        Write(kVolume + "/c", ""), Write(kVolume + "/x", ""), Write(d, ""), fs::copy("/bin/sleep", program);
    const auto reads = [](const std::string& file) { return [=] { open((kVolume + file).c_str(), O_RDONLY); }; };
    const Holder sleeper("user.service", [&] { execl(program.c_str(), "s", "1000", nullptr); });
    const Holder user("user.service", reads("/c")), worker("all.service/sub", reads("/c")),
        slave("slave.service", reads("/x"));
    const Holder session("a.slice/1.scope", [] { fs::current_path(kVolume); }), deaf("deaf.service", reads("/d/e"));
    const Holder gone("b.service", reads("/x")), jailed("", [] { (void)!chroot((kVolume + "/d").c_str()); });
    const auto maps = [](const std::string& file) {
        return
            [=] { mmap(nullptr, 4, PROT_READ, MAP_SHARED, open((kVolume + file).c_str(), O_RDONLY), 0), closefrom(3); };
    };
    const Holder blank("b.service", maps("/a b")), mapper("map.service", maps("/d/f")),
        keen("keen.service", reads("/c"));
    fs::remove(kVolume + "/x"),
        Write("/run/swaps", "Filename Type\n/dev/sda2 partition\n" + kVolume + "/s\\040w file 1 0\n");
    const Texts points{kVolume + "/m", kVolume + "0/m", "/proc/fs", "/proc/swaps"};
    for (const std::string& point : points) {
        point.ends_with("/m") ? fs::create_directories(point) : false;
        EXPECT_EQ(mount("/run/swaps", point.c_str(), "tmpfs", point == points[3] ? std::uint64_t{MS_BIND} : 0, ""), 0);
    }
    Write("/proc/fs/nfs/exports", "# Version 1.1\n" + kVolume + "\t*(ro)\n"),
        Write("/sys/block/loop7/loop/backing_file", d + "\n");
    VolumeUnmountPlan plan;
    Texts listed{"before"};
    EXPECT_TRUE(MEROSystemdServiceListByMntPath(kVolume, listed));
    EXPECT_THAT(listed, UnorderedElementsAre("keen.service", "map.service", "user.service"));
    EXPECT_THAT(Said("systemd_service_list_by_mount_path"), Contains("INFO file used: [" + kVolume + "/c]").Times(2));
    MLIBCSzList* fromC = MLIBCSzListAlloc();
    EXPECT_EQ(MEROCSystemdServiceListByMntPath(kVolume.c_str(), &fromC), 1);
    EXPECT_THAT(Items(List(fromC).get()), UnorderedElementsAreArray(listed));
    MERO_SYSTEMD_VOLUME_DEPENDENCY dependency = MERO_SYSTEMD_VOLUME_DEPENDENCY_NONE;
    EXPECT_EQ(MEROCSystemdVolumeDependencyGet("other", &dependency), 1);
    EXPECT_EQ(dependency, MERO_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL);
    EXPECT_TRUE(MEROSystemdVolumeUnmountPlan({"/none", kVolume}, plan) && fs::remove_all("/sys/block") > 0);
    std::for_each(points.begin(), points.end(), [](const std::string& point) { umount(point.c_str()); });
    Texts words;
    const auto inWords = [](const VolumeUser& user) {
        const std::string file = user.file.starts_with(kVolume) ? user.file.substr(kVolume.size()) : "elsewhere";
        return " " + std::to_string(user.pid) + " " + user.command + " " + std::to_string(static_cast<int>(user.use)) +
               file;
    };
    for (const PlannedStop& stop : plan.stops) {
        for (const StopCause& cause : stop.causes) {
            words.push_back(stop.unit + ": " + std::to_string(static_cast<int>(cause.kind)) + cause.unit +
                            cause.package);
            for (const VolumeUser& user : cause.users) {
                words.back() += inWords(user);
            }
        }
    }
    for (const VolumeBlocker& blocker : plan.blockers) {
        words.push_back(std::to_string(static_cast<int>(blocker.kind)) + blocker.unit + inWords(blocker.user));
    }
    const auto by = [](const Holder& holder, const std::string& rest) {
        return " " + holder.id + " library_test " + rest;
    };
    EXPECT_THAT(
        words,
        UnorderedElementsAre(
            "activating.service: 0activating.service", "all.service: 0all.service", "all.service: 0slave.service",
            "b.mount: 1b.mount", "keen.service: 3keen.service" + by(keen, "2/c"),
            "map.service: 3map.service" + by(mapper, "3/d/f"), "pkgctl-Baz.socket: 1pkgctl-Baz.socket",
            "pkgctl-Foo.service: 2pkgctl-Foo.serviceFoo", "reloading.service: 0reloading.service",
            "user.service: 3user.service " + sleeper.id + " sleeps-very-lon 1/sleeps-very-long" + by(user, "2/c"),
            "01.scope" + by(session, "0"), "0deaf.service" + by(deaf, "2/d/e"),
            "0b.service" + by(gone, "2/x (deleted)"), "0" + by(jailed, "4/d"), "0b.service" + by(blank, "3/a b"),
            "1 0  2/m", "2 0 /dev/loop7 2/d/e", "3 0  2/s w", "4 0  2"));
    EXPECT_TRUE(std::ranges::is_sorted(plan.stops, {}, &PlannedStop::unit));
    EXPECT_FALSE(Said("systemd_volume_unmount_action").size() != 2 || fs::exists(kTargets + "end.target") ||
                 fs::exists(kLock));
}

TEST_F(VolumeUnmount, TheCurrentDialectSeesMore)
{
    Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n");
    SetUnits(
        {{kAll, {"odd.service", "refreshing.service", "maintenance.service"}}, {"Master=whole", {"gone.service"}}});
    SystemctlScript("case $1 in list*) printf '%s.service enabled enabled\\n' fileless odd maintenance refreshing;; "
                    "*) echo ActiveState=${4%.service};; esac");
    Write(kVolume + "/x", ""), fs::create_symlink(kVolume, "/run/to-volume");
    const Holder ofUser("user.slice/user@7.service/app.slice/b.service", [] { fs::current_path(kVolume); });
    const Holder gone("gone.service", [] { open((kVolume + "/x").c_str(), O_RDONLY), fs::remove(kVolume + "/x"); });
    FullVolumeUnmountPlan plan;
    EXPECT_TRUE(MEROSystemdVolumeUnmountFullPlan({"/run/to-volume"}, plan));
    EXPECT_THAT(plan.stops, ElementsAre(Field(&PlannedStop::unit, "refreshing.service"),
                                        Field(&PlannedStop::unit, "whole.service")));
    EXPECT_THAT(plan.blockers, ElementsAre(Field(&VolumeBlocker::unit, "user@7.service")));
    const Texts said = Said("systemd_volume_unmount_action");
    EXPECT_THAT(said, IsSupersetOf({"WARNING [/run/to-volume] leads to [" + kVolume + "], which is looked for too.",
                                    "WARNING [maintenance.service] is in maintenance: it counts as not running."s}));
}

/// A current systemctl that knows every unit; all have the same state.
const std::string kShowsAll = "case $1 in list-unit-files) cat /run/files;; show) shift 2; for unit; do "
                              "printf 'Id=%s\\nNames=%s\\nLoadState=loaded\\nCanStart=yes\\n' $unit $unit; "
                              "echo ActiveState=$(cat /run/state); echo; done;; esac";

TEST_F(VolumeUnmount, EachUnitOfAMasterIsACause)
{
    Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n"), Write("/run/state", "active");
    SetUnits({{kAll + "\nMaster=m.service", {"a.service", "c.service"}}});
    Write("/run/files", "a.service enabled enabled\nc.service enabled enabled\n"), SystemctlScript(kShowsAll);
    fs::create_directories(kVolume);
    ASSERT_EQ(mount("tmpfs", kVolume.c_str(), "tmpfs", 0, ""), 0);
    const Holder keeper("keeper.service",
                        [] { (void)(unshare(CLONE_NEWNS) || mount("", "/", "", MS_REC | MS_PRIVATE, "")); });
    const Holder second("", [&] { setns(open(keeper.File("ns/mnt").c_str(), O_RDONLY), CLONE_NEWNS); });
    const Holder user("user.slice/user@7.service", [] { fs::current_path(kVolume); }); // the manager itself
    const MERO::Descriptor own(open(kVolume.c_str(), O_RDONLY | O_CLOEXEC));
    FullVolumeUnmountPlan plan;
    EXPECT_TRUE(MEROSystemdVolumeUnmountFullPlan({kVolume}, plan));
    umount2(kVolume.c_str(), MNT_DETACH);
    EXPECT_THAT(plan.blockers, ElementsAre(AllOf(Field(&VolumeBlocker::kind, VolumeBlocker::Kind::MountNamespace),
                                                 Field(&VolumeBlocker::unit, "keeper.service"))));
    ASSERT_THAT(plan.stops,
                ElementsAre(Field(&PlannedStop::unit, "m.service"), Field(&PlannedStop::unit, "user@7.service")));
    EXPECT_THAT(plan.stops[0].causes,
                ElementsAre(Field(&StopCause::unit, "a.service"), Field(&StopCause::unit, "c.service")));
}

TEST_F(VolumeUnmount, TheNextUnmountRecoversAnInterruptedOne)
{
    using Kind = VolumeUnmountState::Kind;
    Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n"), Write("/run/state", "inactive");
    Write("/run/files", ""), Write(kRun + "reasons/held.service/r", ""),
        Write("/run/jobs", "7 a.service stop running\n");
    SystemctlScript(kShowsAll + "; [ \"$1\" != list-jobs ] || { cat /run/jobs; : > /run/jobs; }");
    const auto process = [](int pid, const std::string& started) {
        return "{\"pid\":" + std::to_string(pid) + ",\"started\":\"" + started + "\"}";
    };
    const auto running = [&](int pid) {
        const std::string stat = Read("/proc/" + std::to_string(pid) + "/stat");
        std::istringstream fields(stat.substr(stat.rfind(')') + 2));
        return process(pid, Texts{std::istream_iterator<std::string>(fields), {}}[19]);
    };
    siginfo_t info;
    const pid_t ended = Fork([] { return 0; });
    EXPECT_EQ(waitid(P_PID, static_cast<id_t>(ended), &info, WEXITED | WNOWAIT), 0);
    const std::string here = running(getpid()), reused = process(getpid(), "1"), none = process(0, "");
    const std::tuple<std::string, std::string, Kind> cases[] = {
        {here, none, Kind::Running},
        {none, here, Kind::Running},
        {reused, here, Kind::Running},
        {reused, none, Kind::Interrupted},
        {none, none, Kind::Interrupted},
        {none, reused, Kind::Interrupted},
        {running(ended), none, Kind::Interrupted},
    };
    VolumeUnmountState state;
    for (const auto& [caller, watcher, kind] : cases) {
        Write(kRun + "volume-unmount.json",
              R"({"volumes":["/w"],"services":["a.service"],"units":["a.service","held.service"],)"
              R"("since":7,"caller":)" +
                  caller + ",\"watcher\":" + watcher + "}");
        EXPECT_TRUE(MEROSystemdVolumeUnmountStateGet(state) && state.kind == kind) << caller << watcher;
    }
    EXPECT_TRUE(_MEROSystemdVolumeUnmountAction({"/v"}, [] { return true; }));
    const Texts calls = Calls();
    EXPECT_THAT(calls, Contains("start a.service"));
    EXPECT_THAT(calls, Contains("list-jobs --no-legend").Times(2)) << "the unit's stop is awaited";
    EXPECT_TRUE(MEROSystemdVolumeUnmountStateGet(state) && state.kind == Kind::None);
    EXPECT_EQ(ResultOf(ended), 0);
    EXPECT_FALSE(fs::exists(kRun + "volume-unmount.json"));
}

TEST_F(VolumeUnmount, AnUnmountAlsoStartsWhatAnInterruptedOneLeftDown)
{
    struct Case {
        std::string failing; ///< the systemctl command that fails
        bool dies;           ///< the caller is killed during the action
        Texts calls;         ///< without queries
        std::string said;
    };
    const std::string begin = "start --job-mode=replace-irreversibly unmount-volume-begin.target",
                      end = "start unmount-volume-end.target", jobs = "list-jobs --no-legend",
                      start = "start a.service b.service old.service", record = kRun + "volume-unmount.json";
    const Case cases[] = {
        {"none", false, {"daemon-reload", begin, "action", end, start}, "the following service"},
        {"none", true, {"daemon-reload", begin, "action", jobs, end, start}, "[a.service, old.service] start again"},
        {"start*.target",
         false,
         {"daemon-reload", begin, end, jobs, end, start},
         "[a.service, old.service] are still down after the unmount."},
        {"daemon-reload", false, {"daemon-reload"}, "[old.service, held.service] start again with this one."},
    };
    Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n"), SetUnits({{kAll, {"a.service"}}});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.failing + (c.dies ? " dies" : ""));
        fs::remove_all(kRun), Write(kRun + "reasons/held.service/r", ""), Write(record + ".tmp", "");
        Write(record, R"({"volumes":["/w"],"services":["old.service","held.service"],"units":["old.service",)"
                      R"("held.service","gone.service"],"since":7,"caller":{"pid":0},"watcher":{"pid":0}})");
        for (const std::string unit : {"a", "b", "old", "held", "gone"}) {
            const std::string name = unit + ".service\n", state = unit < "c" ? "active" : "inactive";
            Write("/run/units/" + unit + ".service",
                  "Id=" + name + "Names=" + name + "CanStart=yes\nActiveState=" + state + "\nLoadState=" +
                      (unit == "gone" ? "not-found" : "loaded") + (unit == "a" ? "\nRequiredBy=b.service\n" : "\n"));
        }
        SystemctlScript("case \"$*\" in list-unit-files*) echo a.service enabled enabled;; "
                        "show*) shift 2; for unit; do $next; next=echo; cat /run/units/$unit; done;; "
                        "daemon-reload) grep Wants " +
                        kTargets +
                        "end.target > /run/seen;; *begin.target) sed -i s/=active/=inactive/ /run/units/*;; "
                        "*end.target) ;; start*) shift; for unit; do sed -i s/=inactive/=active/ /run/units/$unit; "
                        "done;; esac; case \"$*\" in " +
                        c.failing + ") exit 1;; esac");
        UnmountRecord now;
        VolumeUnmountState::Kind kind{};
        const Texts services{"a.service", "old.service"}, units{"a.service", "b.service", "old.service"};
        const auto action = [&] {
            const bool isRecorded = ReadUnmountRecord(now, kind) && kind == VolumeUnmountState::Kind::Running &&
                                    now.services == services && now.units == units && now.caller == getpid() &&
                                    now.watcher > 1 && kill(now.watcher, 0) == 0;
            std::ofstream("/run/systemctl.calls", std::ios::app) << (isRecorded ? "action\n" : "no record\n");
            return !c.dies || kill(getpid(), SIGKILL) != 0;
        };
        const auto unmount = [&] { return _MEROSystemdVolumeUnmountAction({"/v"}, action); };
        EXPECT_EQ(c.dies ? ResultOf(Fork(unmount)) : unmount(), c.dies ? 255 : c.failing == "none");
        EXPECT_TRUE(IsFree(kLock, 10));
        Texts calls = Calls();
        std::erase_if(calls, [](auto& call) { return call.starts_with("show") || call.starts_with("list-unit"); });
        EXPECT_EQ(calls, c.calls);
        EXPECT_EQ(Read("/run/seen"), "Wants=a.service old.service\n");
        EXPECT_THAT(Said("systemd_volume_unmount_action"), Contains(HasSubstr(c.said)));
        EXPECT_TRUE(ReadUnmountRecord(now, kind));
        EXPECT_EQ(kind == VolumeUnmountState::Kind::Interrupted ? Join(now.services) + Join(now.units) : "",
                  calls.size() == 1 ? "old.serviceold.service" : "")
            << "unchanged if nothing was stopped";
    }
}

TEST_F(VolumeUnmount, TriedUnitsAreStartedAgainOnlyWithOthers)
{
    Write("/run/state", "inactive"), SystemctlScript(kShowsAll);
    const StoppedUnits both{.units = {"a.service", "b.service"}, .lost = {}, .tried = {"a.service"}};
    const StoppedUnits tried{.units = {"a.service"}, .lost = {"c.scope"}, .tried = {"a.service"}};
    const std::string start = "start a.service b.service";
    EXPECT_THAT(StartAgain(MERO_HERE, both, "it"), ElementsAre("a.service", "b.service"));
    EXPECT_THAT(Calls(), Contains(start));
    EXPECT_THAT(StartAgain(MERO_HERE, tried, "it"), ElementsAre("a.service", "c.scope"));
    EXPECT_THAT(Calls(), Each(StartsWith("show ")));
}

TEST_F(VolumeUnmount, MountsElsewhereAreFound)
{
    const std::string root = "1 0 8:1 / / rw shared:1 - ext4 /dev/sda1 rw\n";
    const auto own = MountTableParse(root + "2 1 8:2 / /v rw shared:2 - ext4 /dev/sdb rw\n"
                                            "3 1 8:2 /a /b\\040c rw - ext4 /dev/sdb rw\n4 2 8:2 /a /v/b rw - x x rw\n"
                                            "5 1 8:3 /@one /one rw - btrfs x rw\n6 1 8:3 /@two /two rw - btrfs x rw\n"
                                            "7 1 8:2 /a /b\\040c rw - ext4 /dev/sdb rw\nshort line\n");
    EXPECT_THAT(FindBindMounts(own, {"/v"}), ElementsAre("/b c"));
    EXPECT_THAT(FindBindMounts(own, {"/one"}), IsEmpty()) << "another subvolume";
    const std::pair<const char*, const char*> namespaces[] = {
        // of other processes: the root's peers, and the mount that they keep
        {"shared:1", ""}, {"master:1", ""}, {"shared:7 master:1", ""}, {"shared:7", "/old/v"}, {"", "/old/v"},
    };
    for (const auto& [peers, kept] : namespaces) {
        const std::string table =
            "9 0 8:1 / / rw " + std::string(peers) + " - ext4 x rw\n8 9 8:2 /a /old/v rw - ext4 x rw\n";
        EXPECT_EQ(FindKeptMount(own, MountTableParse(table), {"/v"}), kept) << peers;
    }
    EXPECT_EQ(FindKeptMount(own, MountTableParse("9 0 8:1 / / rw - ext4 x rw\n"), {"/v"}), "");
}

TEST_F(VolumeUnmount, TheActionRunsBetweenStopAndStart)
{
    struct Case {
        std::string failing, folder; ///< a systemctl command that fails; a folder in the way
        int acts;                    ///< see Act
        Texts calls;                 ///< after the queries
        std::string said =
            "INFO the following service will temporarily stop for volume unmounting: [/v, /w][b.mount, m.service]";
    };
    const std::string stop = "start --job-mode=replace-irreversibly unmount-volume-begin.target",
                      start = "start unmount-volume-end.target";
    const std::string list = "list-unit-files --no-legend --root=/.", remove = "ERR Fail to remove [" + kTargets;
    const std::string noLock = "ERR Failed to get lock [" + kLock + "]";
    const Texts full{"daemon-reload", stop, "action", start};
    const Case cases[] = {
        {"", "", 1, full},
        {"", "", 0, full},
        {"", "", 2, full, "ERR Failed on an exception: it has no text"},
        {"", "", 3, full},
        {"", "", 4, full},
        {start, "", 1, full},
        {"", kMonitorLock, 1, full},
        {stop, "", 1, {"daemon-reload", stop, start}},
        {"daemon-reload", "", 1, {"daemon-reload"}, ""},
        {"", kTargets + "begin.target", 1, {}, remove + "begin.target]."},
        {"", kLock, 1, {}, noLock},
        {"", kTargets + "end.target", 1, {}, remove + "end.target]."},
        {"", kIsolateLock, 1, {}, noLock},
        {list, "", 1, {}, "ERR Fail to list volume dependency units."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.failing + c.folder + std::to_string(c.acts));
        fs::remove_all(kRun), fs::remove_all("/run/systemd"),
            fs::create_directories(c.folder.empty() ? kRun : c.folder);
        c.folder.empty() ? Write(kTargets + "begin.target", "[Old]\nold=1\n") : void();
        SetUnits({{kAll + "\nMaster=m.service", {"a.service", "c.service"}}, {kAll, {"b.mount"}}}, c.failing);
        const auto action = [](void* acts) {
            const bool held = !IsFree(kLock, 0, LOCK_SH) && !IsFree(kIsolateLock) && IsFree(kIsolateLock, 0, LOCK_SH) &&
                              !IsFree(kMonitorLock);
            std::ofstream("/run/systemctl.calls", std::ios::app) << (held ? "action\n" : "free\n");
            return Act(*static_cast<const int*>(acts));
        };
        int acts = c.acts, done = 0;
        std::thread([&] {
            done = MEROCSystemdVolumeGroupUnmountAction(MakeList({"/v", "/w"}).get(), action, &acts);
        }).join();
        EXPECT_EQ(done, c.calls == full && acts % 3 == 1 && c.failing != start);
        Texts calls = Calls();
        std::erase_if(calls, [](auto& call) { return call.starts_with("show") || call.starts_with("list"); });
        EXPECT_EQ(calls, c.calls);
        const Texts said = Said("systemd_volume_unmount_action");
        EXPECT_EQ(said.empty() ? "" : said.back(), c.said);
        EXPECT_EQ(said.size() > 1, c.failing == list || c.folder == kMonitorLock || acts == 2);
        const std::string units = "=b.mount m.service\n", no = "DefaultDependencies=no\n", after = "After" + units;
        const std::string targets =
            after + after + "Conflicts" + units + no + no + "Wants" + units + "[Unit]\n[Unit]\n";
        EXPECT_EQ(calls.empty() ? targets : Read("/run/seen"), targets) << "the files' lines, sorted";
        EXPECT_TRUE(!c.folder.empty() || (IsFree(kLock, 60) && IsFree(kIsolateLock, 60)));
    }
}

TEST_F(VolumeUnmount, AKilledCallersServicesStartAgain)
{
    SetUnits({{kAll, {"a.service"}}}), Write("/sys/fs/cgroup/systemd/cgroup.procs", "");
    const pid_t pid =
        Fork([] { return _MEROSystemdVolumeUnmountAction({"/v"}, [] { return kill(getpid(), SIGKILL) == 0; }); });
    EXPECT_EQ(ResultOf(pid), 255);
    EXPECT_TRUE(IsFree(kLock, 10)) << "the watcher holds it until the services are started";
    EXPECT_EQ(Calls().back(), "start unmount-volume-end.target");
    EXPECT_EQ(Read("/sys/fs/cgroup/systemd/cgroup.procs"), "0") << "it has left the caller's unit";
    EXPECT_THAT(Said("systemd_volume_unmount_action").back(), HasSubstr("[a.service] start again"));
    // If nothing has stopped yet, the watcher does nothing.
    SystemctlScript("case $1 in list-unit-files) echo a.service enabled;; show) echo ActiveState=active;; "
                    "daemon-reload) kill -9 $PPID;; esac");
    EXPECT_EQ(ResultOf(Fork([] { return _MEROSystemdVolumeUnmountAction({"/v"}, [] { return true; }); })), 255);
    EXPECT_TRUE(IsFree(kLock, 10));
    EXPECT_EQ(Calls().back(), "daemon-reload");
}

TEST_F(VolumeUnmount, RemainingStopJobsAreAwaited)
{
    Write("/usr/lib/systemd/system/a.service", "[X-Tarvix]\n" + kAll);
    SystemctlScript(
        "case \"$*\" in list-unit-files*) echo a.service enabled;; *ActiveState*) echo ActiveState=active;; "
        "*Id*) echo Id=b.service;; *begin.target) kill -9 $$;; "
        "list-jobs*) [ -e /run/waited ] || echo 7 b.service stop running; touch /run/waited; exit 1;; "
        "*end.target) [ -e /run/tried ] || { touch /run/tried; exit 1; };; esac");
    const auto action = [] { return std::ofstream("/run/systemctl.calls", std::ios::app) << "action\n", true; };
    EXPECT_TRUE(_MEROSystemdVolumeUnmountAction({"/v"}, action));
    Texts calls = Calls();
    std::erase_if(calls, [](auto& call) { return call.starts_with("show") || call.starts_with("list-unit"); });
    const std::string start = "start unmount-volume-end.target", jobs = "list-jobs --no-legend";
    EXPECT_THAT(calls,
                ElementsAre("daemon-reload", EndsWith("begin.target"), jobs, jobs, "action", start, jobs, start));
}

TEST_F(VolumeUnmount, ACallerWhoseWorkingDirectoryWasOnTheVolumeCanUnmountIt)
{
    WriteProgram("/usr/mero/lib/systemd/scripts/mero-systemd-status-monitor.sh", "exec sleep 1");
    const fs::path before = fs::current_path();
    fs::create_directories(kVolume);
    ASSERT_EQ(mount("tmpfs", kVolume.c_str(), "tmpfs", 0, ""), 0);
    fs::current_path(kVolume);
    const auto action = [&] { return fs::current_path(before), umount(kVolume.c_str()) == 0; };
    EXPECT_TRUE(_MEROSystemdVolumeUnmountAction({kVolume}, action)) << "the status monitor inherited that folder";
    umount2(kVolume.c_str(), MNT_DETACH);
}

TEST_F(VolumeUnmount, WithoutServicesOnlyTheActionRuns)
{
    const auto isNull = [](void* data) { return data == nullptr; };
    VolumeUnmountPlan plan;
    for (const Texts& volumes : {Texts{"v"}, {"/v/"}, {"/"}, {""}, {"/v", "w"}}) {
        MLIBCErrSetEx(0, "", 0);
        EXPECT_FALSE(_MEROSystemdVolumeUnmountAction(volumes, nullptr) || MEROSystemdVolumeUnmountPlan(volumes, plan));
        EXPECT_TRUE(MLIBCErrGet() == 0x0D00 && Said("systemd_volume_unmount_action").empty());
    }
    EXPECT_FALSE(fs::exists(kRun));
    Write(kTargets + "begin.target", "old");
    EXPECT_TRUE(MEROCSystemdVolumeUnmountAction("/v", isNull, nullptr) &&
                !MEROCSystemdVolumeUnmountAction("/v", isNull, this));
    EXPECT_EQ(Said("systemd_volume_unmount_action").back(), "INFO we will not stop any service for umounting: [/v]");
    EXPECT_TRUE(Calls().size() == 2 && Read(kTargets + "begin.target") == "old");
}

} // namespace
