// Hosts that behave badly, and a systemctl that does: every caller gets an answer, and nothing stays behind.
#include "torture/functions.h"
#include "torture/torture.h"

#include <merosystemd/systemd.hpp>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace MERO::Torture {

const char* const kName = "bad_hosts";

namespace {

using Texts = std::vector<std::string>;

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

/// Reaps whatever child there is, as some hosts do.
void ReapAll(int)
{
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}

const Case kCases[] = {
    {"the host ignores SIGCHLD", [] { signal(SIGCHLD, SIG_IGN); }, "", {false, false, false, true}},
    {"the host's mask blocks all signals",
     [] {
         sigset_t all;
         sigfillset(&all);
         sigprocmask(SIG_BLOCK, &all, nullptr);
     },
     ""},
    {"the host has an alarm every 5 ms", // calls are interrupted all the time
     [] {
         struct sigaction action {};
         action.sa_handler = [](int) {};
         sigaction(SIGALRM, &action, nullptr);
         const itimerval often{{0, 5'000}, {0, 5'000}};
         setitimer(ITIMER_REAL, &often, nullptr);
     },
     ""},
    {"the host has no descriptors 0 to 2", [] { close_range(0, 2, 0); }, ""},
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
         std::filesystem::create_directory("/run/gone");
         std::filesystem::current_path("/run/gone");
         std::filesystem::remove("/run/gone");
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
    const std::filesystem::path path = "/usr/bin/systemctl";
    if (systemctl == "FOLDER") {
        std::filesystem::remove(path);
        std::filesystem::create_directory(path);
    } else if (systemctl == "NOT EXECUTABLE") {
        std::filesystem::permissions(path, std::filesystem::perms(0600));
    } else if (!systemctl.empty()) {
        world.WriteProgram(path, systemctl);
    }
}

void CheckHost(Report& report, const Case& c)
{
    const std::string name = c.name;
    const auto begin = std::chrono::steady_clock::now();
    c.behave();
    const std::string before = Footprint();
    std::string value;
    const Told told = Ask(value);
    const Told again = Ask(value);
    const std::string difference = Difference(before, Footprint());
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    const auto tell = [&](bool isFault, const std::string& what) {
        isFault ? report.Fault(name + ": " + what) : void();
    };
    tell(told != c.told || again != c.told, "the answers are: " + Words(told) + ", and again: " + Words(again));
    const bool isValue = value.starts_with("a.service") || value.find("getcwd") != value.npos; // the stand-in's shell
    tell(told.show && !isValue, "the value is " + value);
    tell(!difference.empty(), difference);
    tell(time.count() < 2 * c.atLeast || time.count() > 2 * c.atMost, std::to_string(time.count()) + " s");
    tell(PeakMemory() > 512, std::to_string(PeakMemory()) + " MiB");
}

/// A handler that reaps takes an exit status away now and then: either answer, but never a hang, a crash or a zombie.
void CheckReaper(Report& report, int calls)
{
    struct sigaction action {};
    action.sa_handler = ReapAll;
    sigaction(SIGCHLD, &action, nullptr);
    const std::string before = Footprint();
    int done = 0;
    for (int i = 0; i < calls; ++i) {
        done += MEROSystemdStart("a");
    }
    const std::string difference = Difference(before, Footprint());
    if (!difference.empty()) {
        report.Fault("the host reaps all children: " + difference);
    }
    report.Done(calls);
}

template <typename Body>
void InChild(Report& report, const std::string& name, Body&& body)
{
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        body();
        _exit(0);
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(200);
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0) { // its alarm is its own
        if (std::chrono::steady_clock::now() > deadline) {
            kill(child, SIGKILL);
        }
        usleep(10'000);
    }
    if (status != 0) {
        report.Fault(name + ": ends with status " + std::to_string(status));
    }
}

} // namespace

void Run(Report& report, double scale)
{
    for (const Case& c : kCases) {
        World world;
        SetSystemctl(world, c.systemctl);
        InChild(report, c.name, [&] { CheckHost(report, c); });
        report.Done(8);
        report.Print();
        std::filesystem::remove_all("/usr/bin/systemctl"); // it may be a folder
    }
    const World world;
    InChild(report, "the host reaps all children", [&] { CheckReaper(report, static_cast<int>(200 * scale)); });
}

} // namespace MERO::Torture
