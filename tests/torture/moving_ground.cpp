/// Processes are born and die while others are looked for, and faster than a slice is killed.
#include "long_run.h"

#include <merosystemd/resource.hpp>
#include <merosystemd/systemd.hpp>

#include <sys/mount.h>

#include <set>

using namespace MERO::Systemd;
using namespace MERO::Torture;
namespace fs = std::filesystem;

namespace {

const std::string kMonitor = "/sys/fs/cgroup/meromonitor/";
const std::string kProgram = fs::read_symlink("/proc/self/exe");
const std::string kCommand = kProgram.substr(kProgram.rfind('/') + 1);

/// A service's main process: so many children a second that work in a folder for a moment, some as another program.
[[noreturn]] void GiveBirth(int perSecond, const std::string& folder)
{
    std::signal(SIGCHLD, SIG_IGN);
    fs::current_path(folder);
    std::ofstream(kMonitor + "steady.slice/tasks") << getpid() << std::flush;
    for (auto next = Clock::now();; std::this_thread::sleep_until(next)) {
        next += std::chrono::microseconds(1000000 / perSecond);
        const pid_t pid = fork();
        if (pid == 0) {
            if (getpid() % 4 == 0) {
                execl("/bin/sleep", "sleep", "0.02", nullptr);
            }
            usleep(static_cast<useconds_t>(getpid() % 50) * 1000);
            _exit(0);
        }
    }
}

/// Chains of processes, each of which leaves a successor when it goes: no member is there for long, and none is asked.
[[noreturn]] void Bomb(int perSecond)
{
    std::signal(SIGCHLD, SIG_IGN);
    std::signal(SIGTERM, SIG_IGN);
    constexpr int kChains = 100;
    for (int chain = 1; chain < kChains && fork() != 0; ++chain) {
    }
    for (;;) {
        usleep(static_cast<useconds_t>(1000000 * kChains / perSecond));
        if (fork() > 0) {
            _exit(0);
        }
    }
}

void Passing()
{
    for (unsigned number = 0;; ++number) {
        const std::string slice = kMonitor + "passing-" + std::to_string(number % 10) + ".slice";
        fs::create_directory(slice);
        usleep(2000);
        rmdir(slice.c_str());
    }
}

void LookOnce(Run& run)
{
    Texts services;
    run.Expect(MEROSystemdServiceListByMntPath("/vol", services), "the services could not be listed");
    run.Expect(services == Texts{"on.service"}, "users of the volume: " + Joined(services));

    VolumeUnmountPlan plan;
    run.Expect(MEROSystemdVolumeUnmountPlan({"/vol"}, plan), "no plan");
    run.Expect(plan.stops.size() == 1 && plan.stops[0].unit == "on.service", "the plan stops something else");
    for (const PlannedStop& stop : plan.stops) {
        for (const StopCause& cause : stop.causes) {
            for (const VolumeUser& user : cause.users) {
                const bool isKnown = user.command == "sleep" || kCommand.starts_with(user.command);
                run.Expect(isKnown && user.file.starts_with("/vol"), "a user: [" + user.command + "] " + user.file);
            }
        }
    }
    for (const VolumeBlocker& blocker : plan.blockers) {
        run.Expect(false, "in the way: [" + blocker.unit + "] [" + blocker.user.command + "] " + blocker.user.file);
    }

    Texts slices;
    run.Expect(MEROSystemdSliceList(slices), "the slices could not be listed");
    const std::set<std::string> unique(slices.begin(), slices.end());
    run.Expect(unique.contains("steady.slice") && unique.size() == slices.size() &&
                   std::ranges::all_of(slices,
                                       [](const std::string& slice) {
                                           return slice == "steady.slice" ||
                                                  (slice.starts_with("passing-") && slice.size() == 15);
                                       }),
               "slices: " + Joined(slices));
    const auto processes = Slice("steady.slice").ProcessesGet();
    run.Expect(processes.size() >= 2, "the slice has lost processes");
    for (const Process& process : processes) {
        run.Expect(process.NameGet() == kCommand || process.NameGet() == "sleep", "a process: " + process.NameGet());
        (void)process.CPUUtilizationGet();
    }
}

void Look(Run& run)
{
    fs::create_directories("/vol");
    fs::create_directory(kMonitor + "steady.slice");
    run.Expect(mount("torture", "/vol", "tmpfs", 0, nullptr) == 0, "no volume");
    const std::string start = "[Service]\nExecStart=" + kProgram + " births 100 ";
    Unit("steady.slice", "[Slice]\n[X-Tarvix]\nName=Steady\n");
    Unit("on.service", start + "/vol\n");
    Unit("off.service", start + "/run\n");
    MEROSystemdDaemonReload();
    Texts failed;
    run.Expect(MEROSystemdStart({"on", "off"}, failed), "the services did not start");
    run.Expect(Comes(10s, [] { return Slice("steady.slice").ProcessesGet().size() > 4; }), "nothing is born");
    const pid_t passing = Fork([] { return Passing(), true; });

    for (int warmUp = 0; warmUp < 10; ++warmUp) {
        LookOnce(run);
    }
    const Holdings before;
    const std::string first = Shell("awk '/^processes/ { print $2 }' /proc/stat");
    const auto begin = Clock::now();
    while (Since(begin) < 60 * run.Scale()) {
        LookOnce(run);
        run.Done();
    }
    const double births = std::stod(Shell("awk '/^processes/ { print $2 }' /proc/stat")) - std::stod(first);
    std::cerr << "moving_ground: " << births / Since(begin) << " processes of the machine a second\n";
    Kill(passing);
    run.ExpectKept(before, Holdings(), 1024);
    MEROSystemdStop({"on", "off"}, failed);
}

bool IsEmpty(const std::string& slice)
{
    return Shell("exec 2> /dev/null; find /sys/fs/cgroup/systemd/" + slice + " -name cgroup.procs | xargs -r cat")
        .empty();
}

void KillBomb(Run& run, const std::string& killMode, double& slowest)
{
    Unit("bomb.slice", "[Slice]\n[X-Tarvix]\nSliceKillTimeoutSec=1\n");
    Unit("bomb.service", "[Service]\nSlice=bomb.slice\nTimeoutStopSec=1\nTasksMax=infinity\nKillMode=" + killMode +
                             "\nExecStart=" + kProgram + " bomb 500\n");
    MEROSystemdDaemonReload();
    run.Expect(MEROSystemdStart("bomb"), "the bomb did not start");
    std::this_thread::sleep_for(500ms);
    run.Expect(!IsEmpty("bomb.slice"), "the bomb did not go off");
    auto killed = Clock::now();
    bool wasKilled = false;
    const bool done = MEROSystemdKillSlice("bomb.slice", [&](KillPhase phase) {
        wasKilled = phase == KillPhase::Killing;
        killed = Clock::now();
    });
    const bool isEmpty = Comes(5s, [] { return IsEmpty("bomb.slice"); });
    slowest = std::max(slowest, Since(killed));
    run.Expect(isEmpty || !done, "killed by its name, the slice still has processes");
    run.Expect(killMode != "none" || wasKilled, "nothing was left to kill");
    Shell("systemctl kill -s KILL bomb.slice; systemctl stop bomb; systemctl reset-failed");
    run.Done();
}

} // namespace

int main(int argc, char* argv[])
{
    const std::string mode = argc > 2 ? argv[1] : "";
    if (mode == "births") {
        GiveBirth(std::atoi(argv[2]), argv[3]);
    }
    if (mode == "bomb") {
        Bomb(std::atoi(argv[2]));
    }
    Run run("moving_ground", argc, argv);
    Look(run);
    double slowest = 0;
    for (int left = run.Scaled(20); left > 0; --left) {
        KillBomb(run, "none", slowest);
        KillBomb(run, "process", slowest);
    }
    std::cerr << "moving_ground: a slice was empty " << slowest << " s after the last signal at most\n";
    return run.End();
}
