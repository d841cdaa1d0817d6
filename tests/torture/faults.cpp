// Each call into the system that an exported function makes fails once: the 1st, the 2nd, ... the last one.
#include "torture/fault_points.h"
#include "torture/functions.h"
#include "torture/torture.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstring>
#include <iterator>
#include <sstream>

namespace MERO::Torture {

const char* const kName = "faults";

namespace {

constexpr unsigned kSecondsPerCall = 60;
constexpr const char* kCalls = "/run/systemctl.calls";
constexpr long kMostFaults = 400; ///< of one function and kind: more calls than these are sampled

struct Fault {
    FaultKind kind;
    long nth; ///< 0: none
};
Fault fault{};
long calls = 0;

void ArmAroundEachCall()
{
    AroundEachCall([] { ArmFaults(fault.kind, fault.nth); }, [] { calls = DisarmFaults(); });
}

/// A run without a fault, as the forked child tells it.
struct GoodRun {
    long calls;
    bool isDone, isDoneAgain;
    char text[4000];
};

/// What an operation leaves undone, and says so in the log only, as its header or its source tells.
struct BestEffort {
    const char* function; ///< a part of its name
    const char* undone;   ///< the beginning of a file's path, or of systemctl's arguments
};
constexpr BestEffort kBestEffort[] = {
    {"", "list-jobs"}, // asks for jobs that may be in the way
    {"nable", "/usr/mero/etc/merosystemd/enable-status-changed"},
    {"Disable", "/usr/mero/etc/merosystemd/enable-status"},
    {"Reason", "reset-failed"},
    {"Reason", "daemon-reload"},
    {"Uninstall", "is-enabled"},
    {"Uninstall", "reset-failed"},
    {"Uninstall", "/run/merosystemd/reasons/"},
    {"Uninstall", "/usr/mero/etc/merosystemd/enable-status"},
    {"Isolate", "/run/merosystemd/status_monitor.exit.lock"},
    {"Isolate", "/run/merosystemd/isolate-state"},
    {"KillSlice", "stop"},
    {"KillSlice", "kill a.slice"},
    {"Unmount", "/run"},
    {"Unmount", "s"},
    {"Unmount", "daemon-reload"}, // units that cannot be asked do not stop
};
/// Functions whose answers tell what could not be found out, or leave it out.
constexpr const char* kPartialAnswers[] = {"IsolateTarget", "UnmountPlan", "IsSupportGet", "ServiceListByMntPath"};

bool MayBeUndone(const Function& function, const std::string& what)
{
    return std::any_of(std::begin(kBestEffort), std::end(kBestEffort), [&](const BestEffort& left) {
        return function.name.find(left.function) != std::string::npos && what.starts_with(left.undone);
    });
}

/// Process IDs differ from run to run.
Files FilesNow()
{
    Files files = FilesBelow({"/run", "/usr/mero", "/var/packages", "/sys/fs/cgroup"});
    for (auto& [path, text] : files) {
        if (!text.empty() && text.find_first_not_of("0123456789") == text.npos) {
            text = "a process ID";
        }
    }
    return files;
}

/// systemctl's runs that count.
std::string EssentialCalls(const Function& function, const Files& files)
{
    const auto found = files.find(kCalls);
    std::istringstream lines(found != files.end() ? found->second : "");
    std::string calls;
    for (std::string line; std::getline(lines, line);) {
        MayBeUndone(function, line) ? calls : calls += line + ",";
    }
    return calls;
}

/// Runs `body` in a child, whose death is a fault.
template <typename Body>
void RunInChild(Report& report, const std::string& what, Body&& body)
{
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        alarm(kSecondsPerCall);
        World::InCgroups();
        body();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0) {
        report.Fault(what + (WIFSIGNALED(status) ? ": ends by signal " + std::to_string(WTERMSIG(status))
                                                 : ": ends with status " + std::to_string(WEXITSTATUS(status))));
    }
}

/// A unit that the library makes is written without a key for which there was no memory; the log tells.
bool LacksKeysOnly(const std::string& path, const std::string& text, const Files& good)
{
    const auto whole = good.find(path);
    std::istringstream lines(text);
    bool isPart = path.starts_with("/run/systemd/system/unmount-volume-") && whole != good.end();
    for (std::string line; isPart && std::getline(lines, line);) {
        isPart = ("\n" + whole->second).find("\n" + line + "\n") != std::string::npos;
    }
    return isPart;
}

/// What a call has left on the disk: each file is whole, as it was before or as it is after a success; and after a
/// success all are as they should be.
std::string FileFault(const Function& function, const Files& before, const Files& good, bool done)
{
    const Files now = FilesNow();
    const auto isSame = [](const Files& files, const auto& file) {
        const auto found = files.find(file.first);
        return found != files.end() && found->second == file.second;
    };
    for (const auto& file : now) {
        const bool isLeft = FailedCall() == std::string("unlink"); // what cannot be removed stays
        const bool mustBeNew = done && !MayBeUndone(function, file.first);
        if (file.first != kCalls && !isSame(good, file) && !isLeft && !LacksKeysOnly(file.first, file.second, good) &&
            (mustBeNew || !isSame(before, file))) {
            return file.first + " is wrong: " + file.second;
        }
    }
    for (const auto& [path, text] : good) {
        const bool mustBe = (done && !MayBeUndone(function, path)) || before.contains(path);
        if (path != kCalls && mustBe && !now.contains(path)) {
            return path + " is missing";
        }
    }
    const std::string calls = EssentialCalls(function, now);
    return done && calls != EssentialCalls(function, good) ? "systemctl has only run: " + calls : "";
}

void Check(Report& report, const Function& function, const std::string& what, const GoodRun& good, const Files& before,
           const Files& after)
{
    const std::string footprint = Footprint();
    const Answer answer = function.call(-1);
    const std::string said = what + FailedCall() + "): ";
    const auto tell = [&](const std::string& wrong) { wrong.empty() ? void() : report.Fault(said + wrong); };
    tell(Difference(footprint, Footprint()));
    if (!answer.thrown.empty() && (function.isC || (!function.mayThrow && answer.thrown != "std::bad_alloc"))) {
        tell("throws " + answer.thrown);
    }
    const bool isPartial = std::any_of(std::begin(kPartialAnswers), std::end(kPartialAnswers),
                                       [&](const char* name) { return function.name.find(name) != std::string::npos; });
    if (answer.done && answer.text != good.text && !isPartial) {
        tell("says that it succeeded, and answers " + answer.text);
    }
    tell(FileFault(function, before, after, answer.done));
    fault.nth = 0;
    if (good.isDoneAgain && !function.call(-1).done) {
        tell("the next call fails");
    }
}

void RunFaults(Report& report, const Function& function, FaultKind kind, double scale)
{
    static auto& good = *static_cast<GoodRun*>(
        mmap(nullptr, sizeof(GoodRun), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const std::string name = function.name + (kind == FaultKind::Allocation ? ", allocation " : ", system call ");
    Files before, after;
    {
        const World world;
        before = FilesNow();
        fault = {kind, 0};
        RunInChild(report, name, [&] {
            const Answer answer = function.call(-1);
            good = {.calls = calls, .isDone = answer.done, .isDoneAgain = false, .text = {}};
            std::strncpy(good.text, answer.text.c_str(), sizeof good.text - 1);
        });
        after = FilesNow();
        RunInChild(report, name, [&] { good.isDoneAgain = function.call(-1).done; });
    }
    if (!good.isDone) {
        report.Fault(name + "0: fails");
        return;
    }
    const double step = std::max(1.0, static_cast<double>(good.calls) / (kMostFaults * scale));
    for (double at = 1; at < static_cast<double>(good.calls) + 1; at += step) {
        const World world;
        fault.nth = std::lround(std::floor(at));
        const std::string what = name + std::to_string(fault.nth) + " of " + std::to_string(good.calls) + " (";
        RunInChild(report, what, [&] { Check(report, function, what, good, before, after); });
        report.Done();
    }
}

} // namespace

void Run(Report& report, double scale)
{
    ArmAroundEachCall();
    for (const Function& function : Functions()) {
        RunFaults(report, function, FaultKind::SystemCall, scale);
        RunFaults(report, function, FaultKind::Allocation, scale);
        report.Print();
    }
}

} // namespace MERO::Torture
