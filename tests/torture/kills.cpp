// Kills callers at random moments. Afterwards the library's files are whole, no lock is held, and the next caller
// succeeds.
#include "support/lock.h"
#include "torture/torture.h"

#include <set>

using namespace MERO::Torture;
using namespace MERO::Systemd;

namespace {

const std::set<std::string> kVolumes = [] { // so many that writing a register takes a while
    std::set<std::string> volumes;
    for (int number = 1; number <= 5000; ++number) {
        volumes.insert("/vol" + std::to_string(number));
    }
    return volumes;
}();

/// An operation to kill again and again, and what must work afterwards.
struct Victim {
    std::string name;
    int kills;
    int longest; ///< milliseconds until it is killed; most are killed early
    void (*act)();
    bool (*next)();
};

std::string Volume()
{
    return "/vol" + std::to_string(1 + random() % 5000);
}

bool IsActive()
{
    return MEROSystemdActiveStatusGet("all") == MERO_SYSTEMD_ACTIVE_STATUS_ACTIVE;
}

/// A register that nobody else writes holds known volumes, each once.
bool AreRegistersWhole()
{
    std::vector<VolumeRegistration> registrations;
    return MEROSystemdVolumeRegisterList(registrations) &&
           std::ranges::all_of(registrations, [](const VolumeRegistration& registration) {
               const std::set<std::string> volumes(registration.volumes.begin(), registration.volumes.end());
               return volumes.size() == registration.volumes.size() && std::ranges::includes(kVolumes, volumes);
           });
}

/// The target file is missing or complete.
bool IsTargetWhole(const std::string& which, const std::string& relation)
{
    const std::string path = "/run/systemd/system/unmount-volume-" + which + ".target";
    const std::string keys = "(DefaultDependencies=no|After=all.service|" + relation + "=all.service)\n";
    return !std::filesystem::exists(path) || Fits(Machine::Read(path), "\\[Unit\\]\n(" + keys + "){3}");
}

void KillOne(Run& run, const Victim& victim)
{
    const double part = run.Random(1000) / 1000.0;
    const pid_t pid = Fork([&]() -> int {
        for (srandom(static_cast<unsigned>(getpid()));;) {
            victim.act();
        }
    });
    std::this_thread::sleep_for(std::chrono::duration<double, std::milli>(part * part * victim.longest));
    kill(pid, SIGKILL);
    ResultOf(pid);
    const auto expect = [&](bool holds, const char* otherwise) { run.Expect(holds, victim.name + otherwise); };
    for (const auto& entry : std::filesystem::recursive_directory_iterator("/run/merosystemd")) {
        const std::string path = entry.path();
        expect(!path.ends_with(".lock") || MERO::Test::IsFree(path, 30),
               ": a lock is still held"); // at first by a watcher
    }
    expect(AreRegistersWhole(), ": a volume register is damaged");
    expect(IsTargetWhole("begin", "Conflicts") && IsTargetWhole("end", "Wants"), ": a target is damaged");
    expect(Comes(30s, [] { return waitpid(-1, nullptr, WNOHANG) < 0; }),
           ": what it had started does not end"); // systemctl goes on running
    const auto start = Clock::now();
    expect(victim.next(), ": the next call failed");
    expect(Since(start) < 30, ": the next call took 30 s");
    run.Done();
}

const Victim kVictims[] = {
    {"registers", 1000, 30,
     [] {
         MEROSystemdVolumeRegister("held", Volume()), MEROSystemdPackageVolumeRegister("Foo", Volume());
         MEROSystemdVolumeUnregister("held", Volume()), MEROSystemdPackageVolumeUnregister("Foo", Volume());
     },
     [] {
         return MEROSystemdVolumeRegister("held", "/vol1") && MEROSystemdPackageVolumeRegister("Foo", "/vol1") &&
                MEROSystemdVolumeIsRegisteredByUnit("held", {"/vol1"}) &&
                MEROSystemdVolumeIsRegisteredByPackage("Foo", {"/vol1"});
     }},
    {"unmounts", 400, 500, [] { (void)_MEROSystemdVolumeUnmountAction({"/vol1"}, [] { return true; }); },
     [] { return IsActive() && _MEROSystemdVolumeUnmountAction({"/vol1"}, [] { return !IsActive(); }) && IsActive(); }},
};

} // namespace

MERO_TORTURE(kills, Systemd)
{
    std::filesystem::create_directories("/run/merosystemd");
    std::filesystem::create_directories("/var/packages/Foo");
    Machine::Write(kUnits + "all.service", kSleeps + "[X-Tarvix]\nVolumeDependency=all\n");
    MEROSystemdDaemonReload();
    Machine::Write("/usr/mero/etc/merosystemd/volume-register/held.service",
                   "[\"" + Joined(kVolumes, "\", \"") + "\"]");
    for (const Victim& victim : kVictims) {
        for (int left = run.Scaled(victim.kills); left > 0; --left) {
            KillOne(run, victim);
        }
    }
}
