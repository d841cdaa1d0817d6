// Random graphs of services on one volume: exactly those that depend on it stop while it is unmounted, systemd stops
// those that require them along, and the former run again.
#include "torture/torture.h"

#include <set>
#include <sstream>

using namespace MERO::Torture;

namespace {

using Names = std::set<std::string>;

const std::string kKeys = "[X-Tarvix]\n";
const std::string kPartial = kKeys + "VolumeDependency=partial\n";

/// How a unit of the graph depends on the volume.
struct Way {
    std::string prefix; ///< of its name: a package's, or not
    std::string text;
    std::string registered; ///< the volume that it, or its package, registers
    bool stops;
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
};

struct Graph {
    Texts services;
    Names stops; ///< that the library has to name
    Names falls; ///< those and what requires them
};

bool MountAnew()
{
    const char* const anew =
        "! mountpoint -q /vol || umount /vol || exit; mount -t tmpfs torture /vol && touch /vol/file";
    return Shell(anew).exitCode == 0;
}

/// Edges lead to smaller numbers.
Graph MakeGraph(Run& run)
{
    Graph graph;
    const int density = run.Random(8);
    std::vector<Texts> requirements(30);
    for (int i = 0; i < 30; ++i) {
        const Way way = run.Random(2) == 0 ? Way{"g", "", "", false} : kWays[run.Random(std::size(kWays))];
        const std::string number = std::to_string(i), service = way.prefix + number + ".service";
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
            const std::string other = graph.services[run.Random(i)];
            const char* const kinds[] = {"After=", "After=", "Wants=", "Requires="};
            const int kind = run.Random(4);
            text += "After=" + other + "\n" + kinds[kind] + other + "\n";
            if (kind == 3) {
                requirements[i].push_back(other);
            }
        }
        Machine::Write(kUnits + service, text);
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

/// The graph's services that run now, and which run it is.
std::map<std::string, std::string> Running(const Graph& graph)
{
    std::istringstream lines(Shell("systemctl show -p Id,ActiveState,InvocationID " + Joined(graph.services) +
                                   " | awk -v RS= '/State=active/ { print $1, $3 }'")
                                 .output);
    std::map<std::string, std::string> running;
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

void Unmount(Run& run, const Graph& graph)
{
    const auto before = Running(graph);
    auto during = before;
    bool isUnmounted = false;
    const bool done = _MEROSystemdVolumeUnmountAction({"/vol"}, [&] {
        during = Running(graph);
        return isUnmounted = MountAnew();
    });
    run.Expect(isUnmounted, "the volume was not unmounted");
    run.Expect(done, "the action failed");
    auto after = before;
    (void)Comes(2s, [&] {
        after = Running(graph);
        return std::ranges::all_of(graph.stops, [&](const std::string& service) { return after.contains(service); });
    });
    for (const std::string& service : graph.services) {
        const bool falls = graph.falls.contains(service), isBack = after.contains(service);
        run.Expect(during.contains(service) != falls, service + (falls ? " did not stop" : " stopped"));
        // What systemd stopped along is not started by name: it runs again where something that runs wants it.
        run.Expect(isBack || (falls && !graph.stops.contains(service)), service + " is not active again");
        run.Expect(!isBack || (after[service] != before.at(service)) == falls,
                   service + (falls ? " runs on" : " runs anew"));
    }
}

} // namespace

MERO_TORTURE(graphs, Systemd)
{
    std::filesystem::create_directories("/vol");
    for (int left = run.Scaled(100); left > 0 && run.Expect(MountAnew(), "the volume cannot be mounted anew"); --left) {
        const Graph graph = MakeGraph(run);
        MEROSystemdDaemonReload();
        Texts failed;
        if (run.Expect(MEROSystemdStart(graph.services, failed), "the graph did not start") &&
            run.Expect(Comes(10s, [&] { return Plan() == graph.stops; }),
                       "the plan is to stop " + Joined(Plan()) + ", not " + Joined(graph.stops))) {
            Unmount(run, graph);
        }
        MEROSystemdStop(graph.services, failed);
        Shell("rm -r " + kUnits + "*[gG][0-9]* /usr/mero/etc/merosystemd/volume-register /var/packages/*");
        run.Done();
    }
}
