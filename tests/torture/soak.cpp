/// Mixed operations for a long time: the caller ends with what it began with.
#include "long_run.h"

#include <merosystemd/resource.hpp>
#include <merosystemd/systemd.hpp>

#include <atomic>
#include <functional>
#include <map>
#include <mutex>

using namespace MERO::Systemd;
using namespace MERO::Torture;

namespace {

const Texts kNames{"a", "b", "c"};

struct Operation {
    std::string name;
    std::function<bool()> act;
};

/// Those that change nothing: other threads may ask them at any time.
std::vector<Operation> Questions()
{
    return {
        {"show",
         [] {
             std::string value;
             return MEROSystemdShow("a", "Id", value) && value == "a.service";
         }},
        {"states", [] { return MEROSystemdActiveStatusGet("a") >= 0 && MEROSystemdLoadStatusGet("b") >= 0; }},
        {"jobs",
         [] {
             std::map<std::uint32_t, JobInfo> jobs;
             return MEROSystemdIntJobList(jobs);
         }},
        {"metadata",
         [] {
             std::string name;
             return MEROSystemdNameGet("a", name) && name == "Alpha" && !MEROSystemdNameGet("missing", name);
         }},
        {"services",
         [] {
             Texts services;
             return MEROSystemdServiceList(services) && std::ranges::count(services, "a") == 1;
         }},
        {"plan",
         [] {
             VolumeUnmountPlan plan;
             return MEROSystemdVolumeUnmountPlan({"/vol"}, plan);
         }},
        {"users",
         [] {
             Texts services;
             return MEROSystemdServiceListByMntPath("/vol", services);
         }},
        {"process", [] { return Process(getpid()).NameGet() == "torture_soak"; }},
        {"failing",
         [] {
             Texts failed;
             return !MEROSystemdStart({"missing"}, failed) && failed == Texts{"missing"};
         }},
    };
}

std::vector<Operation> Changes()
{
    return {
        {"start and stop",
         [] {
             Texts failed;
             return MEROSystemdStart(kNames, failed) && MEROSystemdRestart("b") && MEROSystemdTryRestart("b") &&
                    MEROSystemdStopNoBlock("c") && MEROSystemdStop(kNames, failed) && MEROSystemdStart("a");
         }},
        {"enablement",
         [] {
             return MEROSystemdEnable("a") && MEROSystemdReenable("a") && MEROSystemdDisable("a") &&
                    MEROSystemdMaskRunTime("c") && MEROSystemdUnmaskRunTime("c");
         }},
        {"uninstall",
         [] {
             Unit("gone.service", "[Service]\nExecStart=/bin/sleep infinity\n");
             return MEROSystemdDaemonReload() && MEROSystemdStart("gone") && MEROSystemdUninstall("gone");
         }},
        {"reasons",
         [] {
             return MEROSystemdServiceStopByReason("soak", "b") && CheckServiceHasReason("b") &&
                    MEROSystemdServiceStartByReason("soak", "b") && !CheckServiceHasReason("b");
         }},
        {"registers",
         [] {
             std::vector<VolumeRegistration> registrations;
             return MEROSystemdVolumeRegister("a", "/vol") && MEROSystemdVolumeRegisterList(registrations) &&
                    registrations.size() == 1 && MEROSystemdVolumeUnregister("a", "/vol");
         }},
        {"unmount", [] { return _MEROSystemdVolumeUnmountAction({"/vol"}, [] { return true; }); }},
        {"throwing unmount",
         [] {
             try {
                 return _MEROSystemdVolumeUnmountAction({"/vol"}, []() -> bool { throw 1; });
             } catch (int) {
                 return true;
             }
         }},
        {"isolation", [] { return _MEROSystemdIsolateTargetAction("quiet.target", [] { return true; }); }},
        {"slice",
         [] { return MEROSystemdStart("loaded") && MEROSystemdKillSlice("load.slice") && MEROSystemdStop("loaded"); }},
    };
}

} // namespace

int main(int argc, char* argv[])
{
    Run run("soak", argc, argv);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    std::filesystem::create_directories("/var/packages");
    std::filesystem::remove("/etc/systemd/system/default.target"); // would win
    Unit("default.target", "[Unit]\nAllowIsolate=yes\nWants=mero-sandbox.target a.service\n");
    Unit("quiet.target", "[Unit]\nAllowIsolate=yes\nWants=mero-sandbox.target\n");
    for (const std::string& unit : kNames) {
        const std::string metadata = unit == "a" ? "Name=Alpha\nVolumeDependency=all\n" : "Name=Other\n";
        Unit(unit + ".service", "[Service]\nType=exec\nExecStart=/bin/sleep infinity\n"
                                "[Install]\nWantedBy=multi-user.target\n[X-Tarvix]\n" +
                                    metadata);
    }
    Unit("loaded.service", "[Service]\nSlice=load.slice\nKillMode=none\nExecStart=/bin/sleep infinity\n");
    Unit("load.slice", "[Slice]\n");
    MEROSystemdDaemonReload();
    const std::vector<Operation> questions = Questions(), changes = Changes();
    std::mutex mutex;
    const auto act = [&](const Operation& operation) {
        const bool done = operation.act();
        const std::lock_guard lock(mutex);
        run.Expect(done, operation.name + " failed");
        run.Done();
    };
    // A thread asks while the first one changes; both end each minute or so, and what is left is what leaked.
    const auto soak = [&](double seconds) {
        std::atomic<bool> isOver = false;
        std::thread asker([&] {
            for (std::size_t turn = 0; !isOver; ++turn) {
                act(questions[turn % questions.size()]);
                std::this_thread::sleep_for(20ms);
            }
        });
        const auto start = Clock::now();
        do {
            act(changes[static_cast<std::size_t>(run.Random(static_cast<int>(changes.size())))]);
        } while (Since(start) < seconds);
        isOver = true;
        asker.join();
        run.Expect(Comes(10s, HasNoChild), "children are left");
    };
    for (const Operation& operation : changes) {
        act(operation);
    }
    soak(60 * run.Scale());
    const Holdings before;
    for (int left = 9; left > 0; --left) {
        soak(60 * run.Scale());
    }
    run.ExpectKept(before, Holdings(), 2048);
    return run.End();
}
