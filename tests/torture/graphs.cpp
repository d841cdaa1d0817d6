// Random graphs of services on one volume: exactly those that depend on it stop while it is unmounted, systemd stops
// those that require them along, and the former run again.
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

void Unmount(Run& run, const Graph& graph)
{
    const auto before = Running(graph);
    auto during = before;
    bool isUnmounted = false;
    const bool done = _MEROSystemdVolumeUnmountAction({kVolume}, [&] {
        during = Running(graph);
        return isUnmounted = MountAnew();
    });
    run.Expect(isUnmounted, "the volume was not unmounted");
    run.Expect(done, "the action failed");
    (void)Comes(2s, [&] {
        const auto now = Running(graph);
        return std::ranges::all_of(graph.stops, [&](const std::string& service) { return now.contains(service); });
    });
    auto after = Running(graph);
    for (const std::string& service : graph.services) {
        const bool falls = graph.falls.contains(service), isBack = after.contains(service);
        run.Expect(during.contains(service) != falls, service + (falls ? " did not stop" : " stopped"));
        // What systemd stopped along is not started by name: it runs again where something that runs wants it.
        run.Expect(isBack || (falls && !graph.stops.contains(service)), service + " is not active again");
        run.Expect(!isBack || (after[service] != before.at(service)) == falls,
                   service + (falls ? " runs on" : " runs anew"));
    }
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
                       "the plan is to stop " + Joined(Plan()) + ", not " + Joined(graph.stops))) {
            Unmount(run, graph);
        }
        RemoveGraph(graph);
        run.Done();
    }
}

} // namespace MERO::Torture
