// Hosts and a systemctl that behave badly: every caller gets an answer, and nothing is left over.
#include "torture/torture.h"

#include <sys/resource.h>
#include <syslog.h>

#include <clocale>

using namespace MERO::Torture;

namespace {

namespace fs = std::filesystem;

void Limit(int resource, rlim_t limit)
{
    const rlimit limits{limit, limit};
    setrlimit(static_cast<__rlimit_resource>(resource), &limits);
}

/// A handler that reaps all children sometimes takes an exit status away.
void ReapAll(int)
{
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}

const std::string kAll = "start show enable register ", kAny = "any";

struct Case {
    const char* name;
    std::function<void()> behave; ///< in a new process
    std::string systemctl = "";   ///< in place of the working one
    std::string done = kAll;
    double atLeast = 0, atMost = 20; ///< seconds for all calls
};
const Case kCases[] = {
    {"the host has no descriptor but the log's", // which then is 0
     [] {
         closelog();
         close_range(0, ~0U, 0);
         openlog(nullptr, LOG_NDELAY, LOG_USER);
     }},
    {"the host can have only 20 descriptors", [] { Limit(RLIMIT_NOFILE, 20); }},
    {"the host has no descriptor left",
     [] {
         Limit(RLIMIT_NOFILE, 10);
         while (dup(STDIN_FILENO) >= 0) {
         }
     },
     "", ""},
    {"the host's working directory is gone",
     [] {
         fs::create_directory("/run/gone");
         fs::current_path("/run/gone");
         fs::remove("/run/gone");
     }},
    {"the host has an odd locale", [] { setlocale(LC_ALL, "C.UTF-8"), setenv("LC_ALL", "xx_XX", 1); }},
    {"the host has no environment", [] { clearenv(); }},
    {"the host can write no files", [] { signal(SIGXFSZ, SIG_IGN), Limit(RLIMIT_FSIZE, 0); }, "echo Id=a.service",
     "start show enable "},
    {"the host reaps all children", [] { signal(SIGCHLD, ReapAll); }, "", kAny},
    {"systemctl hangs for a second", [] {}, "echo Id=a.service; sleep 1", kAll, 3},
    {"systemctl prints a line of 100 MiB", [] {},
     "echo Id=a.service; [ $1 != start ] || head -c 104857600 /dev/zero | tr '\\0' 'x'", kAll, 0, 60},
    {"systemctl fails and prints every byte", [] {}, "head -c 300000 /dev/urandom; exit 1", "register "},
    {"systemctl closes its output and lives on", [] {}, "echo Id=a.service; exec >&- 2>&-; sleep 1", kAll, 3},
    {"a grandchild holds systemctl's output", [] {}, "echo Id=a.service; sleep 1 & exit 0", kAll, 3},
};

void CheckHost(Run& run, const Case& c)
{
    const auto begin = Clock::now();
    const auto expect = [&](bool holds, const std::string& otherwise) {
        run.Expect(holds, std::string(c.name) + ": " + otherwise);
    };
    c.behave();
    const std::string before = Footprint();
    const int times = c.done == kAny ? run.Scaled(100) : 2;
    for (int left = times; left > 0; --left) {
        Texts failed;
        std::string value, done = MEROSystemdStart({"a"}, failed) ? "start " : "";
        done += MEROSystemdShow("a", "Id", value) ? "show " : "";
        done += MEROSystemdEnable("a") ? "enable " : "";
        done += MEROSystemdVolumeRegister("a", "/run/pool") ? "register " : "";
        expect(done == c.done || c.done == kAny, "done: " + done);
        const bool isValue =
            value.starts_with("a.service") || value.find("getcwd") != value.npos; // a message of the shell
        expect(isValue || done.find("show") == done.npos, "the value is " + value);
        run.Done(4);
    }
    const double time = Since(begin) / times;
    run.ExpectSame(before, Footprint(), c.name);
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    expect(time >= c.atLeast && time <= c.atMost, std::to_string(time) + " s");
    expect(usage.ru_maxrss <= 512 * 1024, std::to_string(usage.ru_maxrss) + " KiB of memory");
}

} // namespace

MERO_TORTURE(bad_hosts, Machine)
{
    for (const Case& c : kCases) {
        World world;
        c.systemctl.empty() ? void() : World::WriteProgram("/usr/bin/systemctl", c.systemctl + "\n"); // logs no calls
        run.InChild(c.name, [&] { CheckHost(run, c); });
    }
}
