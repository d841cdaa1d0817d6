// Hosts that behave badly, and a systemctl that does: every caller gets an answer, and nothing stays behind.
#include "support/child.h"
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

struct Case {
    const char* name;
    std::function<void()> behave; ///< in a process of its own
    std::string systemctl;        ///< instead of the one that works
    std::string done = "start show enable register ";
    double atLeast = 0, atMost = 20; ///< seconds for all that is asked
};

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
     "", ""},
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
     "echo Id=a.service", "start show enable "},
    {"systemctl hangs for a second", [] {}, "echo Id=a.service; sleep 1", "start show enable register ", 3},
    {"systemctl prints a line of 100 MiB", [] {},
     "echo Id=a.service; [ $1 != start ] || head -c 104857600 /dev/zero | tr '\\0' 'x'", "start show enable register ",
     0, 60},
    {"systemctl fails with all bytes there are", [] {}, "head -c 300000 /dev/urandom; exit 1", "register "},
    {"systemctl closes its output and lives on", [] {}, "echo Id=a.service; exec >&- 2>&-; sleep 1",
     "start show enable register ", 3},
    {"a grandchild holds systemctl's output", [] {}, "echo Id=a.service; sleep 1 & exit 0",
     "start show enable register ", 3},
};

std::string Ask(std::string& value)
{
    Texts failed;
    std::string done = MEROSystemdStart({"a"}, failed) ? "start " : "";
    done += MEROSystemdShow("a", "Id", value) ? "show " : "";
    done += MEROSystemdEnable("a") ? "enable " : "";
    return done + (MEROSystemdVolumeRegister("a", "/run/pool") ? "register " : "");
}

void CheckHost(Run& run, const Case& c)
{
    const std::string name = std::string(c.name) + ": ";
    const auto begin = Clock::now();
    c.behave();
    const std::string before = Footprint();
    std::string value;
    const std::string done = Ask(value), again = Ask(value), difference = Difference(before, Footprint());
    const double time = Since(begin);
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    run.Expect(done == c.done && again == c.done, name + "done: " + done + "; again: " + again);
    const bool isValue = value.starts_with("a.service") || value.find("getcwd") != value.npos; // the stand-in's shell
    run.Expect(isValue || done.find("show") == done.npos, name + "the value is " + value);
    run.Expect(difference.empty(), name + difference);
    run.Expect(time >= 2 * c.atLeast && time <= 2 * c.atMost, name + std::to_string(time) + " s");
    run.Expect(usage.ru_maxrss <= 512 * 1024, name + std::to_string(usage.ru_maxrss) + " KiB of memory");
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
        c.systemctl.empty() ? void() : World::WriteProgram("/usr/bin/systemctl", c.systemctl + "\n"); // writes no file
        run.InChild(c.name, [&] { CheckHost(run, c); });
        run.Done(8);
    }
    const World world;
    run.InChild("the host reaps all children", [&] { CheckReaper(run); });
}

} // namespace MERO::Torture
