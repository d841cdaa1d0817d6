// Hosts that behave badly, and a systemctl that does: every caller gets an answer, and nothing stays behind.
#include "support/child.h"
#include "torture/functions.h"
#include "torture/torture.h"

#include <merosystemd/systemd.hpp>

#include <sys/resource.h>
#include <syslog.h>

#include <clocale>
#include <cstdlib>

namespace MERO::Torture {

const char* const kName = "bad_hosts";
const Place kPlace = Place::Machine;

namespace {

namespace fs = std::filesystem;

/// What the caller is told, in one word each.
struct Told {
    bool start, show, enable, registered;
    bool operator==(const Told&) const = default;
};
constexpr Told kAll{true, true, true, true};
constexpr Told kNone{false, false, false, false};

struct Case {
    const char* name;
    std::function<void()> behave; ///< in a process of its own
    std::string systemctl;        ///< instead of the one that works
    Told told = kAll;
    double atLeast = 0, atMost = 20; ///< seconds for all that is asked
};

long PeakMemory()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024; // MiB
}

Told Ask(std::string& value)
{
    Texts failed;
    Told told{};
    told.start = MEROSystemdStart({"a"}, failed);
    told.show = MEROSystemdShow("a", "Id", value);
    told.enable = MEROSystemdEnable("a");
    told.registered = MEROSystemdVolumeRegister("a", "/run/pool");
    return told;
}

std::string Words(const Told& told)
{
    return std::string("start ") + (told.start ? "yes" : "no") + ", show " + (told.show ? "yes" : "no") + ", enable " +
           (told.enable ? "yes" : "no") + ", register " + (told.registered ? "yes" : "no");
}

const Case kCases[] = {
    {"the host has no descriptor but the log's", // which is 0 then
     [] {
         closelog();
         close_range(0, ~0U, 0);
         openlog(nullptr, LOG_NDELAY, LOG_USER);
     },
     ""},
    {"the host may have 20 descriptors",
     [] {
         const rlimit files{20, 20};
         setrlimit(RLIMIT_NOFILE, &files);
     },
     ""},
    {"the host has no descriptor left",
     [] {
         const rlimit files{10, 10};
         setrlimit(RLIMIT_NOFILE, &files);
         while (dup(STDIN_FILENO) >= 0) {
         }
     },
     "", kNone},
    {"the host's working directory is gone",
     [] {
         fs::create_directory("/run/gone");
         fs::current_path("/run/gone");
         fs::remove("/run/gone");
     },
     ""},
    {"the host has an odd locale", [] { setlocale(LC_ALL, "C.UTF-8"), setenv("LC_ALL", "xx_XX", 1); }, ""},
    {"the host has no environment", [] { clearenv(); }, ""},
    {"the host has no right to write files",
     [] {
         const rlimit none{0, 0};
         signal(SIGXFSZ, SIG_IGN);
         setrlimit(RLIMIT_FSIZE, &none);
     },
     "echo Id=a.service",
     {true, true, true, false}},
    {"systemctl hangs for a second", [] {}, "echo Id=a.service; sleep 1", kAll, 3},
    {"systemctl prints 100 MiB", [] {},
     "echo Id=a.service; [ $1 != start ] || head -c 104857600 /dev/zero | tr '\\0' 'x'", kAll, 0, 60},
    {"systemctl prints NUL bytes and no newline", [] {}, "printf 'Id=a.service\\0\\0'; head -c 100000 /dev/zero", kAll},
    {"systemctl prints all bytes there are", [] {}, "echo Id=a.service; head -c 300000 /dev/urandom", kAll},
    {"systemctl fails with all bytes there are",
     [] {},
     "head -c 300000 /dev/urandom; exit 1",
     {false, false, false, true}},
    {"systemctl kills itself", [] {}, "echo Id=a.service; kill -KILL $$"}, // counts as its end
    {"systemctl closes its output and lives on", [] {}, "echo Id=a.service; exec >&- 2>&-; sleep 1", kAll, 3},
    {"a grandchild holds systemctl's output", [] {}, "echo Id=a.service; sleep 1 & exit 0", kAll, 3},
    {"systemctl is a folder", [] {}, "FOLDER", {false, false, false, true}},
    {"systemctl may not be run", [] {}, "NOT EXECUTABLE", {false, false, false, true}},
};

void SetSystemctl(World& world, const std::string& systemctl)
{
    const fs::path path = "/usr/bin/systemctl";
    if (systemctl == "FOLDER") {
        fs::remove(path);
        fs::create_directory(path);
    } else if (systemctl == "NOT EXECUTABLE") {
        fs::permissions(path, fs::perms(0600));
    } else if (!systemctl.empty()) {
        world.WriteProgram(path, systemctl);
    }
}

void CheckHost(Run& run, const Case& c)
{
    const std::string name = std::string(c.name) + ": ";
    const auto begin = Clock::now();
    c.behave();
    const std::string before = Footprint();
    std::string value;
    const Told told = Ask(value);
    const Told again = Ask(value);
    const std::string difference = Difference(before, Footprint());
    const double time = Since(begin);
    run.Expect(told == c.told && again == c.told, name + "the answers are: " + Words(told) + ", and: " + Words(again));
    const bool isValue = value.starts_with("a.service") || value.find("getcwd") != value.npos; // the stand-in's shell
    run.Expect(!told.show || isValue, name + "the value is " + value);
    run.Expect(difference.empty(), name + difference);
    run.Expect(time >= 2 * c.atLeast && time <= 2 * c.atMost, name + std::to_string(time) + " s");
    run.Expect(PeakMemory() <= 512, name + std::to_string(PeakMemory()) + " MiB");
}

/// A handler that reaps takes an exit status away now and then: either answer, but never a hang, a crash or a zombie.
void CheckReaper(Run& run)
{
    struct sigaction action {};
    action.sa_handler = [](int) {
        while (waitpid(-1, nullptr, WNOHANG) > 0) {
        }
    };
    sigaction(SIGCHLD, &action, nullptr);
    const std::string before = Footprint();
    for (int left = run.Scaled(200); left > 0; --left) {
        (void)MEROSystemdStart("a");
        run.Done();
    }
    const std::string difference = Difference(before, Footprint());
    run.Expect(difference.empty(), "the host reaps all children: " + difference);
}

} // namespace

void Torture(Run& run)
{
    for (const Case& c : kCases) {
        World world;
        SetSystemctl(world, c.systemctl);
        run.InChild(c.name, [&] { CheckHost(run, c); });
        run.Done(8);
        fs::remove_all("/usr/bin/systemctl"); // it may be a folder
    }
    const World world;
    run.InChild("the host reaps all children", [&] { CheckReaper(run); });
}

} // namespace MERO::Torture
