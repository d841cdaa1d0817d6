// Random graphs of services on one volume. While it is unmounted, exactly the services that depend on it stop, systemd
// stops those that require them, and all of them start again, whoever is killed in between.
#include "support/lock.h"
#include "torture/torture.h"

#include <csignal>
#include <set>
#include <sstream>

using namespace MERO::Torture;

namespace {

using MERO::Systemd::VolumeUnmountState;
using Names = std::set<std::string>;

const std::string kKeys = "[X-Tarvix]\n";
const std::string kPartial = kKeys + "VolumeDependency=partial\n";

/// How a unit of the graph depends on the volume.
struct Way {
    std::string prefix; ///< of the name: a package's or not
    std::string text;
    std::string registered; ///< the volume that the service or its package registers
    bool stops;
    bool isInstance = false;
};
const Way kWays[] = {
    {"g", kKeys + "VolumeDependency=all\n", "", true},
    {"g", kPartial, "/vol", true},
    {"g", kPartial, "/vol2", false},
    {"pkgctl-G", kPartial, "/vol", true},
    {"pkgctl-G", kPartial, "/vol2", false},
    {"g", "WorkingDirectory=/vol\n", "", true},
    {"g", "StandardInput=file:/vol/file\n", "", true},
    {"g", kKeys + "SkipListByMntPath=yes\n", "", false},
    {"g", kKeys + "VolumeDependency=all\n", "", true, true},
    {"g", kPartial, "/vol", true, true},
};

struct Graph {
    Texts services;
    Names stops; ///< those that the library must name
    Names falls; ///< those and the services that require them
};

bool MountAnew()
{
    const char* const anew =
        "! mountpoint -q /vol || umount /vol || exit; mount -t tmpfs torture /vol && touch /vol/file";
    return Shell(anew).exitCode == 0;
}

/// Makes a random graph. Edges lead to smaller numbers.
Graph MakeGraph(Run& run)
{
    Graph graph;
    const int density = run.Random(8);
    std::vector<Texts> requirements(30);
    for (int i = 0; i < 30; ++i) {
        const Way way = run.Random(2) == 0 ? Way{"g", "", "", false} : kWays[run.Random(std::size(kWays))];
        const std::string number = std::to_string(i), name = way.prefix + number + (way.isInstance ? "@" : "");
        const std::string service = name + (way.isInstance ? "x" : "") + ".service";
        std::string text = kSleeps + way.text;
        if (!way.registered.empty()) {
            Machine::Write(way.prefix == "g" ? "/usr/mero/etc/merosystemd/volume-register/" + service
                                             : "/var/packages/G" + number + "/etc/meropkg_conf/reg_volume",
                           "[\"" + way.registered + "\"]");
        }
        if (way.stops) {
            graph.stops.insert(service);
        } else if (way.text.empty() && i > 0 && run.Random(8) == 0) {
            const std::string master = graph.services[run.Random(i)];
            text += "WorkingDirectory=/vol\n[X-Tarvix]\nMaster=" + master + "\n[Unit]\nPartOf=" + master + "\n";
            requirements[i].push_back(master);
            graph.stops.insert(master);
        }
        text += "[Unit]\n";
        for (int edges = run.Random(density + 1); i > 0 && edges > 0; --edges) {
            const int to = run.Random(i);
            const std::string alias = "alias-g" + std::to_string(to) + ".service";
            const bool byAlias = run.Random(2) == 0 && std::filesystem::is_symlink(kUnits + alias);
            const char* const kinds[] = {
                "After=", "Wants=", "After=", "Requires=", "BindsTo=", "PartOf=", "Requisite="};
            const int kind = run.Random(std::size(kinds));
            const std::string other = byAlias ? alias : graph.services[to];
            text += "After=" + other + "\n" + kinds[kind] + other + "\n";
            if (kind >= 3) {
                requirements[i].push_back(graph.services[to]);
            }
        }
        Machine::Write(kUnits + name + ".service", text);
        if (!way.isInstance && run.Random(4) == 0) {
            std::filesystem::create_symlink(service, kUnits + "alias-g" + number + ".service");
        }
        graph.services.push_back(service);
    }
    graph.falls = graph.stops;
    for (int i = 0; i < 30; ++i) {
        if (std::ranges::any_of(requirements[i], [&](const auto& other) { return graph.falls.contains(other); })) {
            graph.falls.insert(graph.services[i]);
        }
    }
    return graph;
}

using Runs = std::map<std::string, std::string>; ///< the running services, each with the ID of this run

Runs Running(const Graph& graph)
{
    std::istringstream lines(Shell("systemctl show -p Id,ActiveState,InvocationID " + Joined(graph.services) +
                                   " | awk -v RS= '/State=active/ { print $1, $3 }'")
                                 .output);
    Runs running;
    for (std::string id, invocation; lines >> id >> invocation;) {
        running[id.substr(3)] = invocation;
    }
    return running;
}

Names Plan()
{
    Names stops;
    MERO::Systemd::VolumeUnmountPlan plan;
    (void)MEROSystemdVolumeUnmountPlan({"/vol"}, plan);
    for (const MERO::Systemd::PlannedStop& stop : plan.stops) {
        stops.insert(stop.unit);
    }
    return stops;
}

void ExpectAllBack(Run& run, const Graph& graph, const Runs& before, const std::string& after)
{
    Runs now;
    (void)Comes(60s, [&] { return (now = Running(graph)).size() == before.size(); });
    for (const std::string& service : graph.services) {
        run.Expect(now.contains(service), service + " is not active again after " + after);
    }
}

void Unmount(Run& run, const Graph& graph)
{
    const Runs before = Running(graph);
    Runs during = before;
    bool isUnmounted = false;
    const bool done = _MEROSystemdVolumeUnmountAction({"/vol"}, [&] {
        during = Running(graph);
        return isUnmounted = MountAnew();
    });
    run.Expect(isUnmounted, "the volume was not unmounted");
    run.Expect(done, "the action failed");
    Runs after = Running(graph);
    for (const std::string& service : graph.services) {
        const bool falls = graph.falls.contains(service), isBack = after.contains(service);
        run.Expect(during.contains(service) != falls, service + (falls ? " did not stop" : " stopped"));
        run.Expect(isBack, service + " is not active again");
        run.Expect(!isBack || (after[service] != before.at(service)) == falls,
                   service + (falls ? " was not restarted" : " was restarted"));
    }
}

/// The process that is killed during the unmount.
enum class Killed { Nobody, Caller, CallerAndWatcher };

void UnmountAndKill(Run& run, const Graph& graph, Killed killed)
{
    const Runs before = Running(graph);
    const pid_t caller = Fork([] {
        return _MEROSystemdVolumeUnmountAction({"/vol"}, [] { return std::this_thread::sleep_for(500ms), true; }) ? 0
                                                                                                                  : 1;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(run.Random(2500)));
    VolumeUnmountState state;
    if (killed == Killed::CallerAndWatcher) { // one after the other: nothing can kill both at the same moment
        kill(caller, SIGSTOP);
        Shell("jq -r .watcher.pid /run/merosystemd/volume-unmount.json 2> /dev/null | xargs -r kill -9");
    }
    kill(caller, SIGKILL);
    ResultOf(caller);
    if (killed == Killed::CallerAndWatcher) {
        const auto isOver = [&] { // a watcher that has nothing to restore takes a moment to end
            return MEROSystemdVolumeUnmountStateGet(state) && state.kind != VolumeUnmountState::Kind::Running;
        };
        run.Expect(Comes(5s, isOver), "an unmount without any process goes on");
        run.Expect(MEROSystemdVolumeUnmountRecover(), "recovering failed");
        ExpectAllBack(run, graph, before, "the watcher was killed too");
    } else {
        run.Expect(Comes(60s, [] { return MERO::Test::IsFree("/run/merosystemd/locks/volume-unmount-action.lock"); }),
                   "the watcher does not end");
        ExpectAllBack(run, graph, before, "the caller was killed");
    }
    run.Expect(MEROSystemdVolumeUnmountStateGet(state) && state.kind == VolumeUnmountState::Kind::None,
               "a record was left behind");
}

} // namespace

MERO_TORTURE(graphs, Systemd)
{
    std::filesystem::create_directories("/vol");
    for (int left = run.Scaled(100); left > 0 && run.Expect(MountAnew(), "the volume cannot be remounted"); --left) {
        const Graph graph = MakeGraph(run);
        MEROSystemdDaemonReload();
        Texts failed;
        if (run.Expect(MEROSystemdStart(graph.services, failed), "the graph did not start") &&
            run.Expect(Comes(10s, [&] { return Plan() == graph.stops; }),
                       "the plan is to stop " + Joined(Plan()) + ", not " + Joined(graph.stops))) {
            constexpr Killed kTurns[] = {Killed::Nobody, Killed::Caller, Killed::CallerAndWatcher, Killed::Caller};
            const Killed killed = kTurns[left % 4];
            killed == Killed::Nobody ? Unmount(run, graph) : UnmountAndKill(run, graph, killed);
        }
        MEROSystemdStop(graph.services, failed);
        Shell("rm -r " + kUnits + "*[gG][0-9]* /usr/mero/etc/merosystemd/volume-register /var/packages/*");
        run.Done();
    }
}
