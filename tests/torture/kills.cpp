// Callers are killed at random moments. Afterwards what the library owns is whole, no lock is held, and the next caller
// succeeds.
#include "support/child.h"
#include "torture/torture.h"

#include <merosystemd/systemd.hpp>

namespace MERO::Torture {

const char* const kName = "kills";
const Place kPlace = Place::Systemd;

namespace {

using namespace Systemd;

const std::string kRegister = "/usr/mero/etc/merosystemd/volume-register/held.service";
const std::string kTarget = "/run/systemd/system/unmount-volume-";
/// So many that writing a register takes a while.
const Texts kVolumes = [] {
    Texts volumes;
    for (int number = 1; number <= 5000; ++number) {
        volumes.push_back("/vol" + std::to_string(number));
    }
    std::ranges::sort(volumes);
    return volumes;
}();

/// What is killed again and again, and what must work afterwards.
struct Victim {
    std::string name;
    int kills;
    int longest; ///< until it is killed: ms. Most are killed early.
    void (*act)();
    bool (*next)();
};

std::string Volume()
{
    static std::mt19937 random(static_cast<unsigned>(getpid()));
    return kVolumes[random() % kVolumes.size()];
}

bool IsActive()
{
    return MEROSystemdActiveStatusGet("all") == MERO_SYSTEMD_ACTIVE_STATUS_ACTIVE;
}

/// A register written by nobody else has known volumes, each once.
bool AreRegistersWhole()
{
    std::vector<VolumeRegistration> registrations;
    return MEROSystemdVolumeRegisterList(registrations) &&
           std::ranges::all_of(registrations, [](VolumeRegistration& registration) {
               Texts& volumes = registration.volumes;
               std::ranges::sort(volumes);
               return std::ranges::includes(kVolumes, volumes) && std::ranges::adjacent_find(volumes) == volumes.end();
           });
}

bool IsTargetWhole(const std::string& which, const std::string& relation)
{
    const std::string path = kTarget + which + ".target", text = Machine::Read(path);
    const auto has = [&](const std::string& line) { return text.find("\n" + line) != text.npos; };
    return !std::filesystem::exists(path) ||
           (text.starts_with("[Unit]\n") && text.ends_with('\n') && std::ranges::count(text, '\n') == 4 &&
            has("DefaultDependencies=no\n") && has("After=all.service\n") && has(relation + "=all.service\n"));
}

/// Its owner may be dead; then the state cannot be told, but it is one.
bool IsIsolationWhole()
{
    const std::string text = Machine::Read("/run/merosystemd/isolate-state");
    return text.empty() || (text.starts_with("target=") && text.find("\npid=") != text.npos && text.ends_with('\n'));
}

void KillOne(Run& run, const Victim& victim)
{
    const double part = run.Random(1000) / 1000.0;
    const pid_t pid = Test::Fork([&] {
        for (;;) {
            victim.act();
        }
        return 0;
    });
    std::this_thread::sleep_for(std::chrono::microseconds(static_cast<long>(part * part * victim.longest * 1000)));
    Kill(pid);
    run.Expect(AreLocksFree(), victim.name + ": a lock is still held");
    run.Expect(AreRegistersWhole(), victim.name + ": a volume register is damaged");
    run.Expect(IsTargetWhole("begin", "Conflicts") && IsTargetWhole("end", "Wants"),
               victim.name + ": a target is damaged");
    run.Expect(IsIsolationWhole(), victim.name + ": the isolation's state is damaged");
    run.Expect(Comes(30s, HasNoChild), victim.name + ": what it had started does not end"); // systemctl goes on
    const auto start = Clock::now();
    run.Expect(victim.next(), victim.name + ": the next call failed");
    run.Expect(Since(start) < 30, victim.name + ": the next call took " + std::to_string(Since(start)) + " s");
    run.Done();
}

const Victim kVictims[] = {
    {"registers", 1000, 30,
     [] {
         const std::string volume = Volume();
         MEROSystemdVolumeRegister("held", volume), MEROSystemdPackageVolumeRegister("Foo", volume);
         MEROSystemdVolumeUnregister("held", Volume()), MEROSystemdPackageVolumeUnregister("Foo", Volume());
     },
     [] {
         return MEROSystemdVolumeRegister("held", "/vol1") && MEROSystemdPackageVolumeRegister("Foo", "/vol1") &&
                MEROSystemdVolumeIsRegisteredByUnit("held", {"/vol1"}) &&
                MEROSystemdVolumeIsRegisteredByPackage("Foo", {"/vol1"});
     }},
    {"unmounts", 400, 500, [] { (void)_MEROSystemdVolumeUnmountAction({"/vol1"}, [] { return true; }); },
     [] { // what the killed had stopped stays stopped; the next action is about what runs
         return MEROSystemdStart("all") && _MEROSystemdVolumeUnmountAction({"/vol1"}, [] { return !IsActive(); }) &&
                IsActive();
     }},
    {"isolations", 200, 600,
     [] {
         (void)MEROSystemdIsolateTarget("quiet.target", nullptr);
         (void)MEROSystemdIsolateToDefaultTarget();
     },
     [] {
         IsolateState state;
         return MEROSystemdIsolateToDefaultTarget() && MEROSystemdIsolateStateGet(state) && !state.isolating &&
                IsActive();
     }},
};

} // namespace

void Torture(Run& run)
{
    std::filesystem::create_directories("/var/packages/Foo");
    std::filesystem::remove("/etc/systemd/system/default.target"); // would win
    Machine::Write(kUnits + "default.target", "[Unit]\nAllowIsolate=yes\nWants=mero-sandbox.target all.service\n");
    Machine::Write(kUnits + "quiet.target", "[Unit]\nAllowIsolate=yes\nWants=mero-sandbox.target\n");
    Machine::Write(kUnits + "all.service",
                   "[Service]\nType=exec\nExecStart=/bin/sleep infinity\n[X-Tarvix]\nVolumeDependency=all\n");
    MEROSystemdDaemonReload();
    run.Expect(MEROSystemdIsolateToDefaultTarget(), "the default target was not reached");
    Machine::Write(kRegister, "[\"" + Joined(kVolumes, "\", \"") + "\"]");
    for (const Victim& victim : kVictims) {
        for (int left = run.Scaled(victim.kills); left > 0; --left) {
            KillOne(run, victim);
        }
    }
}

} // namespace MERO::Torture
