// The host is left as it was: every exported function, called so that it succeeds and so that it fails.
#include "torture/functions.h"
#include "torture/torture.h"

#include <merosystemd/systemd.h>

#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>

namespace MERO::Torture {

const char* const kName = "host_state";

namespace {

/// All that a host would notice, a line each.
std::string HostState()
{
    std::ostringstream text;
    const std::set<std::string> kept{"Umask:",  "Uid:",    "Gid:",        "Threads:", "SigBlk:", "SigIgn:",
                                     "SigCgt:", "CapEff:", "NoNewPrivs:", "NSpgid:",  "NSsid:"};
    std::ifstream status("/proc/thread-self/status");
    for (std::string line; std::getline(status, line);) {
        kept.contains(line.substr(0, line.find('\t'))) ? text << line << "\n" : text;
    }
    status.close();
    for (int signal = 1; signal <= 64; ++signal) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0) {
            text << "signal " << signal << " " << reinterpret_cast<const void*>(action.sa_handler) << " "
                 << action.sa_flags << sigismember(&action.sa_mask, SIGUSR1) << "\n";
        }
    }
    for (int resource = 0; resource < RLIM_NLIMITS; ++resource) {
        rlimit limit{};
        getrlimit(static_cast<__rlimit_resource>(resource), &limit);
        text << "limit " << resource << " " << limit.rlim_cur << " " << limit.rlim_max << "\n";
    }
    for (char** variable = environ; *variable != nullptr; ++variable) {
        text << "variable " << *variable << "\n";
    }
    itimerval timer{};
    getitimer(ITIMER_REAL, &timer);
    text << "alarm " << (timer.it_value.tv_sec != 0) << "\nnice " << getpriority(PRIO_PROCESS, 0) << "\nlocale "
         << setlocale(LC_ALL, nullptr) << "\nfolder " << std::filesystem::current_path().string() << "\n"
         << Footprint();
    return text.str();
}

/// A host whose state is nowhere the one that processes begin with.
void BeAHost()
{
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    sigaddset(&blocked, SIGALRM);
    sigprocmask(SIG_SETMASK, &blocked, nullptr);
    signal(SIGPIPE, SIG_IGN);
    for (int handled : {SIGCHLD, SIGUSR2, SIGTERM, SIGRTMIN + 3}) {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        action.sa_flags = handled == SIGTERM ? SA_RESTART : 0;
        sigaddset(&action.sa_mask, SIGUSR1);
        sigaction(handled, &action, nullptr);
    }
    umask(027);
    setenv("HOST", "yes", 1);
    setlocale(LC_ALL, "C.UTF-8");
    std::filesystem::current_path("/usr/share");
    const rlimit files{500, 600};
    setrlimit(RLIMIT_NOFILE, &files);
    setpriority(PRIO_PROCESS, 0, 3);
    (void)!dup(STDIN_FILENO); // not close-on-exec
}

/// Exported functions that the table lacks. Members of classes have no addresses to look for.
void CheckTable(Report& report)
{
    Dl_info library{};
    dladdr(reinterpret_cast<const void*>(MEROCSystemdStart), &library);
    std::set<const void*> known;
    for (const Function& function : Functions()) {
        known.insert(function.address);
    }
    FILE* symbols = popen(("nm -D --defined-only " + std::string(library.dli_fname)).c_str(), "r");
    char type = 0;
    char name[1024];
    while (fscanf(symbols, "%*s %c %1023[^@\n]%*[^\n]", &type, name) == 2) {
        const std::string symbol = name;
        bool isMember = false;
        for (const char* prefix : {"SystemctlOptsBuilder", "CommandOptions", "JobInfo", "7Process", "5Slice"}) {
            isMember |= symbol.starts_with("_ZN") && symbol.find("7Systemd") < 12 && symbol.find(prefix) < 25;
        }
        if (type == 'T' && !isMember && !known.contains(dlsym(RTLD_DEFAULT, name))) {
            report.Fault("the table lacks " + symbol);
        }
    }
    if (pclose(symbols) != 0 || known.size() < 150) {
        report.Fault("the exported functions cannot be listed");
    }
}

} // namespace

void Run(Report& report, double)
{
    CheckTable(report);
    BeAHost();
    struct Case {
        const char* name;
        StandIn systemctl;
        int firstBad; ///< of the parameters; -1: none is bad
    };
    constexpr Case kCases[] = {{"a systemctl that works", StandIn::Works, -1},
                               {"a systemctl that fails", StandIn::Fails, -1},
                               {"no systemctl", StandIn::Missing, -1},
                               {"a bad argument", StandIn::Works, 0}};
    for (const Function& function : Functions()) {
        for (const Case& c : kCases) {
            for (int bad = c.firstBad; bad < (c.firstBad < 0 ? 0 : function.parameters); ++bad) {
                const World world(c.systemctl);
                const std::string before = HostState();
                const Answer answer = function.call(bad);
                const std::string difference = Difference(before, HostState());
                const std::string what = function.name + " with " + c.name + ": ";
                report.Done();
                if (!difference.empty()) {
                    report.Fault(what + difference);
                }
                if (!answer.thrown.empty() && !function.mayThrow) {
                    report.Fault(what + "throws " + answer.thrown);
                }
                if (c.systemctl == StandIn::Works && bad < 0 && !answer.done) {
                    report.Fault(what + "fails");
                }
            }
        }
    }
}

} // namespace MERO::Torture
