// Random graphs of services on one volume: exactly those that depend on it stop while it is unmounted, systemd stops
// those that require them along, and the former run again.
#include "support/child.h"
#include "torture/torture.h"

#include <merosystemd/systemd.hpp>

#include <sys/mount.h>

#include <fstream>
#include <set>

namespace MERO::Torture {

const char* const kName = "graphs";
const Place kPlace = Place::Systemd;

namespace {

using namespace Systemd;

constexpr int kSize = 30; // units
const std::string kVolume = "/vol";

using Names = std::set<std::string>;

/// How a unit of the graph depends on the volume.
struct Way {
    const char* prefix; ///< of its name
    const char* text;
    const char* registered; ///< the volume that it, or its package, registers
    bool stops;
};
const Way kWays[] = {
    {"g", "[X-Tarvix]\nVolumeDependency=all\n", nullptr, true},
    {"g", "[X-Tarvix]\nVolumeDependency=partial\n", "/vol", true},
    {"g", "[X-Tarvix]\nVolumeDependency=partial\n", "/vol2", false},
    {"pkgctl-G", "[X-Tarvix]\nVolumeDependency=partial\n", "/vol", true},
    {"pkgctl-G", "[X-Tarvix]\nVolumeDependency=partial\n", "/vol2", false},
    {"g", "WorkingDirectory=/vol\n", nullptr, true},
    {"g", "StandardInput=file:/vol/file\n", nullptr, true},
    {"g", "[X-Tarvix]\nSkipListByMntPath=yes\n", nullptr, false},
};
constexpr Way kNoWay{"g", "", nullptr, false};

struct Graph {
    Texts services;
    Names stops; ///< that the library has to name
    Names falls; ///< those and what requires them
};

bool MountAnew()
{
    return (umount(kVolume.c_str()) == 0 || errno == EINVAL) &&
           mount("torture", kVolume.c_str(), "tmpfs", 0, nullptr) == 0 && std::ofstream(kVolume + "/file").good();
}

void Register(const Way& way, int number)
{
    if (way.registered == nullptr) {
        return;
    }
    if (way.prefix == std::string("g")) {
        MEROSystemdVolumeRegister("g" + std::to_string(number), way.registered);
        return;
    }
    const std::string package = "G" + std::to_string(number);
    std::filesystem::create_directories("/var/packages/" + package);
    MEROSystemdPackageVolumeRegister(package, way.registered);
}

/// Edges lead to smaller numbers.
Graph MakeGraph(Run& run)
{
    Graph graph;
    const int density = run.Random(8);
    std::vector<Texts> requirements(kSize);
    for (int i = 0; i < kSize; ++i) {
        const Way& way = run.Random(2) == 0 ? kNoWay : kWays[run.Random(static_cast<int>(std::size(kWays)))];
        const std::string service = way.prefix + std::to_string(i) + ".service";
        std::string text = std::string("[Service]\nType=exec\nExecStart=/bin/sleep infinity\n") + way.text;
        Register(way, i);
        if (way.stops) {
            graph.stops.insert(service);
        } else if (&way == &kNoWay && i > 0 && run.Random(8) == 0) {
            const std::string master = graph.services[run.Random(i)];
            text += "WorkingDirectory=/vol\n[X-Tarvix]\nMaster=" + master + "\n[Unit]\nPartOf=" + master + "\n";
            requirements[i].push_back(master);
            graph.stops.insert(master);
        }
        text += "[Unit]\n";
        for (int edges = run.Random(density + 1); i > 0 && edges > 0; --edges) {
            const std::string other = graph.services[run.Random(i)];
            const int kind = run.Random(4);
            text += "After=" + other + "\n" + (kind < 2 ? "" : (kind == 2 ? "Wants=" : "Requires=") + other + "\n");
            if (kind == 3) {
                requirements[i].push_back(other);
            }
        }
        Machine::Write(kUnits + service, text);
        graph.services.push_back(service);
    }
    graph.falls = graph.stops;
    for (int i = 0; i < kSize; ++i) {
        if (std::ranges::any_of(requirements[i], [&](const auto& other) { return graph.falls.contains(other); })) {
            graph.falls.insert(graph.services[i]);
        }
    }
    return graph;
}

/// The graph's services that run now, and which run it is.
std::map<std::string, std::string> Running(const Graph& graph)
{
    std::map<std::string, std::string> running, unit;
    FILE* output = popen(("systemctl show -p Id,ActiveState,InvocationID " + Joined(graph.services)).c_str(), "re");
    for (char key[32], value[256]; fscanf(output, " %31[^=]=%255[^\n]", key, value) > 0;) {
        unit[key] = value;
        if (unit.size() == 3) {
            unit["ActiveState"] == "active" ? void(running[unit["Id"]] = unit["InvocationID"]) : void();
            unit.clear();
        }
    }
    pclose(output);
    return running;
}

bool StartAll(const Graph& graph)
{
    Texts failed;
    const bool started = MEROSystemdStart(graph.services, failed);
    return started && Comes(10s, [&] { return Running(graph).size() == graph.services.size(); });
}

Names Plan()
{
    Names stops;
    VolumeUnmountPlan plan;
    (void)MEROSystemdVolumeUnmountPlan({kVolume}, plan);
    for (const PlannedStop& stop : plan.stops) {
        stops.insert(stop.unit);
    }
    return stops;
}

std::string Differences(const Names& found, const Names& expected)
{
    Names more, less;
    std::ranges::set_difference(found, expected, std::inserter(more, more.end()));
    std::ranges::set_difference(expected, found, std::inserter(less, less.end()));
    return " too many: " + Joined(more) + "; too few: " + Joined(less);
}

void UnmountOnce(Run& run, const Graph& graph, const std::string& when)
{
    const auto before = Running(graph);
    Names fell;
    bool isUnmounted = false;
    const bool done = _MEROSystemdVolumeUnmountAction({kVolume}, [&] {
        const auto now = Running(graph);
        for (const std::string& service : graph.services) {
            if (!now.contains(service)) {
                fell.insert(service);
            }
        }
        return isUnmounted = MountAnew();
    });
    run.Expect(isUnmounted, when + ": the volume was not unmounted");
    run.Expect(done, when + ": the action failed");
    run.Expect(fell == graph.falls, when + ": stopped" + Differences(fell, graph.falls));
    const auto areBack = [&] {
        const auto now = Running(graph);
        return std::ranges::all_of(graph.stops, [&](const std::string& service) { return now.contains(service); });
    };
    (void)Comes(2s, areBack);
    const auto after = Running(graph);
    Names back, lost;
    for (const auto& [service, id] : before) {
        const auto now = after.find(service);
        if (now == after.end()) {
            lost.insert(service);
        } else if (now->second != id) {
            back.insert(service);
        }
    }
    // What systemd stopped along is not started by name: it runs again where something that runs wants it.
    Names along;
    std::ranges::set_difference(graph.falls, graph.stops, std::inserter(along, along.end()));
    run.Expect(std::ranges::includes(along, lost), when + ": not active again: " + Joined(lost));
    back.insert(lost.begin(), lost.end());
    run.Expect(back == graph.falls, when + ": run anew" + Differences(back, graph.falls));
}

/// Kills a caller of the action at a random step.
void KillCaller(Run& run)
{
    const pid_t pid = Test::Fork([] { return _MEROSystemdVolumeUnmountAction({kVolume}, [] { return MountAnew(); }); });
    const int longest = run.Random(2) == 0 ? 50 : 600;
    std::this_thread::sleep_for(std::chrono::milliseconds(run.Random(longest)));
    Kill(pid);
    run.Expect(AreLocksFree(), "killed: a lock is still held");
    run.Expect(Comes(30s, HasNoChild), "killed: what it had started does not end");
}

void RemoveGraph(const Graph& graph)
{
    Texts failed;
    MEROSystemdStop(graph.services, failed);
    for (const std::string& service : graph.services) {
        std::filesystem::remove(kUnits + service);
    }
    std::filesystem::remove_all("/usr/mero/etc/merosystemd/volume-register");
    std::filesystem::remove_all("/var/packages");
    std::filesystem::create_directories("/var/packages");
}

} // namespace

void Torture(Run& run)
{
    std::filesystem::create_directories(kVolume);
    for (int left = run.Scaled(100); left > 0; --left) {
        if (!run.Expect(MountAnew(), "the volume cannot be mounted anew")) {
            break;
        }
        const Graph graph = MakeGraph(run);
        MEROSystemdDaemonReload();
        if (run.Expect(StartAll(graph), "the graph did not start") &&
            run.Expect(Comes(10s, [&] { return Plan() == graph.stops; }),
                       "planned" + Differences(Plan(), graph.stops))) {
            UnmountOnce(run, graph, "first");
            if (left % 3 == 0) {
                KillCaller(run);
                run.Expect(StartAll(graph), "killed: the graph did not start again");
                UnmountOnce(run, graph, "after a kill");
            }
        }
        RemoveGraph(graph);
        run.Done();
    }
}

} // namespace MERO::Torture
