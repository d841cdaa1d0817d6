// Calls every exported function so that it succeeds and so that it fails: bad arguments are refused, the host's state
// does not change, and sixteen threads can call at the same time.
#include "torture/torture.h"

#include <fstream>
#include <merocore/error.h>
#include <merosystemd/systemd.h>
#include <thread>

#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <clocale>
#include <regex>
#include <set>
#include <sstream>

using namespace MERO::Torture;

namespace {

/// Everything that a host would notice, one item per line.
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
    for (char** variable = environ; *variable != nullptr; ++variable) {
        text << "variable " << *variable << "\n";
    }
    itimerval timer{};
    getitimer(ITIMER_REAL, &timer);
    text << "alarm " << (timer.it_value.tv_sec != 0) << "\nnice " << getpriority(PRIO_PROCESS, 0) << "\nlocale "
         << setlocale(LC_ALL, nullptr) << "\nfolder " << std::filesystem::current_path().string() << "\n"
         << Machine::Read("/proc/self/limits") << Footprint();
    return text.str();
}

/// Gives this host a state that differs in everything from that of a new process.
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

/// Finds exported functions that the table lacks. Members of classes have no addresses to look up.
void CheckTable(Run& run)
{
    Dl_info library{};
    dladdr(reinterpret_cast<const void*>(MEROCSystemdStart), &library);
    std::set<const void*> known;
    for (const Function& function : Functions()) {
        known.insert(function.address);
    }
    const char* const member = "_ZNK?4MERO7Systemd[0-9]+(SystemctlOptsBuilder|CommandOptions|JobInfo|Process|Slice)";
    std::istringstream symbols(Shell("nm -DP --defined-only " + std::string(library.dli_fname)).output);
    for (std::string symbol, type, rest; symbols >> symbol >> type && std::getline(symbols, rest);) {
        symbol = symbol.substr(0, symbol.find('@'));
        const bool isKnown = known.contains(dlsym(RTLD_DEFAULT, symbol.c_str()));
        run.Expect(type != "T" || isKnown || Has(symbol, member), "the table lacks " + symbol);
    }
    run.Expect(known.size() > 150, "the exported functions cannot be listed");
}

/// A bad argument is refused: nothing is done, one line is logged, and the call fails with 0x0D00. The exceptions:
enum class Instead { Works, Fails, Throws };
struct Exception {
    const char *function, *way; ///< patterns; the first entry that matches both applies
    Instead instead;
    const char* why;
};
constexpr Exception kExceptions[] = {
    {"IsolateStateGet", "", Instead::Fails, "it logs a bad parameter, without a code"},
    {"UnlinkReasons", "1 ", Instead::Fails, "it refuses, and names all units as failed"},
    {"MEROCSystemdVolumeUnmountAction", "is empty", Instead::Fails, "a list with a bad path is refused without a line"},
    {"Reason|UnmountAction|able|ask|Uninstall|ShowProperties", "holds null", Instead::Fails,
     "the list's exception is logged"},
    {"Group", "holds null", Instead::Throws, "callers must not put null into lists of actions"},
    {"CheckServiceHasReason|IsRegisteredBy", "", Instead::Fails, "a query: no"},
    {"CgroupPathnameGet|GetByPid|Process::|ProcessList|LinkMeroReason", "", Instead::Fails, "no such object"},
    {"UnlinkReasons", "2 ", Instead::Works, "there is nothing to do"},
    {"ServiceListByMntPath", "1 is empty", Instead::Works, "every path is below that one"},
    {"ListPackageByRegisteredVolume", "", Instead::Works, "nobody has registered that"},
    {"ListUnits", "", Instead::Works, "units of every type are listed"},
    {"MEROSystemdSystemctl", "", Instead::Works, "systemctl judges its own arguments"},
    {"[^e]WithOptions|OptionsInternal|IntDefaultTargetSet|(art|top|load|[^e]nable|isable|ask)Observed", "1 ",
     Instead::Works, "options are optional"},
    {"IsolateTarget(Observed)?\\(|Group", "null output|leads to null", Instead::Works, "this output is optional"},
};

/// The condition in the log line of a refused argument, which programs match.
const std::map<std::string, std::string> kConditions{
    {"is empty", R"(\(?!(?:str|vec)(\w+?)s?\.empty\(\)(?: && IsSliceName\(strSlice\))?\)?)"},
    {"is a null text", R"(nullptr != sz(\w+))"},
    {"is a null list", R"(nullptr != pList(\w+)s)"},
    {"is a null output", R"(nullptr != (?:ppList|sz|p|pbl|pp)([A-Z]\w+?)s?)"},
    {"leads to null", R"(nullptr != \*pp(?:List)?([A-Z]\w+?)s?)"},
    {"is a null action", "nullptr != (?:action|callback)()"},
    {"is -1", R"(0 < cb(\w+))"},
    {"is 0", R"(0 < cb(\w+))"},
};

/// All files but locks, which stay.
Files Written()
{
    Files files = FilesNow();
    std::erase_if(files, [](const auto& file) { return file.first.find("lock") != std::string::npos; });
    return files;
}

/// Whether a call was refused properly: by one line from the place that the error names.
bool IsRefusal(World& world, const Answer& answer, const std::string& log)
{
    const std::string way = answer.way.substr(answer.way.find(' ') + 1);
    const std::string place = std::string(MLIBCErrorGetFile()) + ":" + std::to_string(MLIBCErrorGetLine());
    const std::regex line("ERR " + place + R"( Invaild Argument \()" + kConditions.at(way) + R"(\)=\[0\]\n)");
    return MLIBCErrGet() == 0x0D00 && std::regex_match(log, line) && answer.isUntouched && world.Calls().empty();
}

/// Calls each function well and, if systemctl works, with an argument that is bad in each possible way.
void CallAll(Run& run, StandIn systemctl)
{
    for (const Function& function : Functions()) {
        World world(systemctl);
        for (int bad = -1; bad < 0 || systemctl == StandIn::Works; ++bad) {
            (void)world.Log(), (void)world.Calls(), MLIBCErrSetEx(0, "", 0);
            const Files before = Written();
            const std::string host = HostState();
            const Answer answer = function.call(bad);
            const bool isGood = bad < 0;
            if (!isGood && answer.way.empty()) {
                break; // there are no more ways
            }
            const std::string what = function.name + (isGood ? ", systemctl " + std::to_string(int(systemctl)) + ": "
                                                             : ", whose argument " + answer.way + ": ");
            run.ExpectSame(host, HostState(), what);
            const std::string log = Joined(world.Log());
            const auto* const exception = std::ranges::find_if(kExceptions, [&](const Exception& one) {
                return Has(function.name, one.function) && Has(answer.way, one.way);
            });
            const bool isRefused = !isGood && exception == std::end(kExceptions);
            const Instead instead = isGood ? Instead::Works : isRefused ? Instead::Fails : exception->instead;
            const bool mayThrow = instead == Instead::Throws || (isGood && function.mayThrow);
            run.Expect(answer.thrown.empty() ? instead != Instead::Throws : mayThrow, what + "throws " + answer.thrown);
            run.Expect(answer.done == (instead == Instead::Works) || systemctl != StandIn::Works,
                       what + (answer.done ? "succeeds" : "fails"));
            run.Expect(!isRefused || IsRefusal(world, answer, log),
                       what + "is not refused properly: error " + std::to_string(MLIBCErrGet()) + ", " + log);
            run.Expect(!isRefused || Written() == before, what + "writes");
            run.Done();
        }
    }
}

/// For the thread sanitizer, and to find deadlocks.
void CallAtOnce(Run& run)
{
    const World world;
    const std::vector<Function>& functions = Functions();
    const std::string before = Footprint();
    const auto end = Clock::now() + 60s * run.Scale();
    std::vector<std::jthread> threads;
    for (unsigned number = 0; number < 16; ++number) {
        threads.emplace_back([&, number] {
            for (std::mt19937 random(number); Clock::now() < end;) {
                const Function& function = functions[random() % functions.size()];
                const Answer answer = function.call(random() % 4 == 0 ? static_cast<int>(random() % 4) : -1);
                run.Expect(answer.thrown.empty() || function.mayThrow || !answer.way.empty(),
                           function.name + " throws");
                run.Done();
            }
        });
    }
    threads.clear();
    run.ExpectSame(before, Footprint());
}

} // namespace

MERO_TORTURE(host_state, Machine)
{
    run.InChild("calls at once", [&] { CallAtOnce(run); });
    CheckTable(run);
    BeAHost();
    for (const StandIn systemctl : {StandIn::Works, StandIn::Fails, StandIn::Missing}) {
        CallAll(run, systemctl);
    }
}
