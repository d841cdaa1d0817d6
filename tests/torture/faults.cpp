// Each call of a function into the system fails once, or is interrupted by a signal: the first, the second, up to the
// last.
#include "support/operations.h"
#include "torture/fault_points.h"
#include "torture/torture.h"

#include <merocore/file.h>
#include <merocore/hash.h>
#include <merocore/process.h>

#include <sys/mman.h>

#include <climits>
#include <cmath>
#include <sstream>

using namespace MERO::Torture;

namespace {

constexpr const char* kCalls = "/run/systemctl.calls";
constexpr long kMostFaults = 400; ///< per function and kind; of more calls a sample is taken, which differs by function

/// A run without a fault, as the forked child reports it, and whether the run with a fault was silent.
struct GoodRun {
    long calls = 0;
    bool isDone = false, isDoneAgain = false;
    bool isSilent = false; ///< a call into the system failed, and the error register is 0
    char text[4000] = {};
};

constexpr const char* kFile = "/usr/mero/etc/support.conf";

bool Opens()
{
    const char* argv[] = {"true", nullptr};
    FILE* const stream = MLIBCPopenvc("/bin/true", "r", const_cast<char**>(argv));
    return stream != nullptr && MLIBCPclose(stream) == 0;
}

bool Forks()
{
    const int pid = MLIBCProcForkEx(MLIBC_FORK_DETACHED);
    return pid == 0 ? _exit(1), false : pid > 0; // its exit status is noticed only if this is the host
}

bool IsAlive()
{
    (void)!setresuid(1, 1, 0);
    const bool isAlive = MLIBCProcAlive(getpid()) == 1 && MLIBCProcAlive(1) == 1 && MLIBCProcAlive(0) == 0 &&
                         MLIBCProcAlive(INT_MAX) == 0;
    return setresuid(0, 0, 0) == 0 && isAlive;
}

bool Locks()
{
    int file = -1;
    return MLIBCFileLockTimeByFile("/run/a.lock", 1, 0, &file) == 0 && MLIBCFileUnlockByFile(file) == 0;
}

bool AddsSection()
{
    const std::unique_ptr<MLIBCSzHash, void (*)(MLIBCSzHash*)> hash(MLIBCSzHashAlloc(0), MLIBCSzHashFree);
    const MERO::Test::List list(MLIBCSzListAlloc());
    MLIBCSzList* grown = list.get();
    return hash && list && MLIBCSzListPush(&grown, "a") == 0 &&
           MLIBCSzHashSetValue(hash.get(), "more than a string holds", "b") == 0 &&
           MLIBCFileAddSection(kFile, "S", hash.get(), 0) == 0;
}

Function Platform(const char* name, bool (*call)(), const std::set<int>& errors)
{
    const auto answer = [call](int) { return beforeCall(), Answer{call()}; };
    return {name, nullptr, false, answer, errors};
}

/// The platform's functions, with the errors that their headers promise; those without any must not fail.
const Function kPlatform[] = {
    Platform("MLIBCPopenvc", Opens, {MLIBC_ERR_START_PROGRAM}),
    Platform("MLIBCProcForkEx", Forks, {MLIBC_ERR_FORK}),
    Platform("MLIBCProcAlive", IsAlive, {}),
    Platform("MLIBCFileTouch", [] { return MLIBCFileTouch(kFile) == 0; }, {MLIBC_ERR_OPEN_FILE}),
    Platform("MLIBCFileLock", Locks, {MLIBC_ERR_OPEN_FILE}),
    Platform("MLIBCFileAddSection", AddsSection,
             {MLIBC_ERR_OPEN_FILE, MLIBC_ERR_READ_FILE, MLIBC_ERR_WRITE_FILE, MLIBC_ERR_NO_MEMORY}),
};

/// Work that an operation may leave undone and only log, as its header or its source says.
struct BestEffort {
    const char* function; ///< part of the name
    const char* undone;   ///< the beginning of a file's path, or of systemctl's arguments
};
const BestEffort kBestEffort[] = {
    {"", "list-jobs"}, // looks for jobs that may be in the way
    {"nable", "/usr/mero/etc/merosystemd/enable-status-changed"},
    {"Disable", "/usr/mero/etc/merosystemd/enable-status"},
    {"Reason", "reset-failed|daemon-reload|show|/run/merosystemd/stopped-along"},
    {"Uninstall", "is-enabled|reset-failed|/run/merosystemd/reasons/|/usr/mero/etc/merosystemd/enable-status"},
    {"Isolate", "/run/merosystemd/(status_monitor.exit.lock|isolate-state)"},
    {"KillSlice", "stop|kill a.slice"},
    {"Unmount", "/run|s|daemon-reload"}, // units whose state is unknown do not stop
};
/// Functions whose answers report or omit what could not be determined.
constexpr const char* kPartialAnswers = "IsolateTarget|UnmountPlan|IsSupportGet|ServiceListByMntPath|TickGet|PssGet";
/// Functions whose "no" is an answer and is not logged.
constexpr const char* kQueries = "SliceList|CgroupPathnameGet|GetByPid|MonitorSliceGet|Process";

bool MayBeUndone(const Function& function, const std::string& what)
{
    return std::ranges::any_of(kBestEffort, [&](const BestEffort& left) {
        return Has(function.name, left.function) && Has(what, "^(" + std::string(left.undone) + ")");
    });
}

/// Replaces process IDs, which differ from run to run.
Files FilesButIDs()
{
    Files files = FilesNow();
    for (auto& [path, text] : files) {
        text = Fits(text, "[0-9]+") ? "a process ID" : text;
    }
    return files;
}

/// The systemctl runs that must happen.
std::string EssentialCalls(const Function& function, Files& files)
{
    std::istringstream lines(files[kCalls]);
    std::string calls;
    for (std::string line; std::getline(lines, line);) {
        MayBeUndone(function, line) ? calls : calls += line + ",";
    }
    return calls;
}

/// If restoring runs out of memory, the watcher takes over. Here it would wait for jobs that are always listed.
void EndWatcher()
{
    const std::string record = "/run/merosystemd/volume-unmount.json";
    if (std::filesystem::exists(record)) {
        Shell("jq .watcher.pid " + record + " | xargs kill -9; rm " + record);
    }
}

/// Checks what a call left on disk. Each file is whole: as before, or as after a success; after a success all must be
/// new. A unit file that the library writes may lack a key for which there was no memory.
std::string FileFault(const Function& function, const Files& before, Files good, bool done)
{
    EndWatcher();
    Files now = FilesButIDs();
    const std::string calls = EssentialCalls(function, now);
    if (done && calls != EssentialCalls(function, good)) {
        return "systemctl ran only: " + calls;
    }
    Files all = now;
    all.insert(before.begin(), before.end()), all.insert(good.begin(), good.end()), all.erase(kCalls);
    for (const auto& [path, any] : all) {
        const auto in = [&path](const Files& files) {
            const auto file = files.find(path);
            return file != files.end() ? file->second : "missing";
        };
        const bool isUnremoved = now.contains(path) && faults.failed == std::string("unlink");
        const bool isPart = path.starts_with("/run/systemd/system/unmount-volume-") && now.contains(path);
        const bool mustBeNew = done && !MayBeUndone(function, path);
        const bool isWhole = in(now) == in(good) || (!mustBeNew && in(now) == in(before));
        if (!isWhole && !isUnremoved && !(isPart && good.contains(path))) {
            return path + " is wrong: " + in(now);
        }
    }
    return "";
}

/// Checks how the first call ends, and that the next one works.
void Check(Run& run, const Function& function, const std::string& what, GoodRun& good, const Files& before,
           const Files& after)
{
    World::InCgroups();
    const std::string footprint = Footprint();
    MLIBCErrSetEx(0, "", 0);
    const Answer answer = function.call(-1);
    afterCall();
    const auto expect = [&](bool holds, const std::string& otherwise) {
        run.Expect(holds, what + faults.failed + "): " + otherwise);
    };
    run.ExpectSame(footprint, Footprint(), what + faults.failed + "): ");
    const bool isCall = faults.kind == FaultKind::SystemCall;
    good.isSilent = !answer.done && isCall && MLIBCErrGet() == 0 && !Has(function.name, kQueries);
    const bool mayThrow =
        !Has(function.name, "^M(ERO|LIB)C") && (function.mayThrow || answer.thrown == "std::bad_alloc");
    expect(answer.thrown.empty() || mayThrow, "throws " + answer.thrown);
    const bool isPartial = Has(function.name, kPartialAnswers);
    expect(!answer.done || answer.text == good.text || isPartial, "succeeds, and answers " + answer.text);
    const std::string fileFault = FileFault(function, before, after, answer.done);
    expect(fileFault.empty(), fileFault);
    expect(answer.done || faults.kind != FaultKind::Interruption, "fails when a signal comes");
    if (const auto& errors = function.errors) {
        const bool isRight = answer.done ? !isCall || errors->empty() : errors->contains(MLIBCErrGet());
        expect(isRight, answer.done ? "succeeds" : "sets the error " + std::to_string(MLIBCErrGet()));
    }
    beforeCall = [] {};
    expect(!good.isDoneAgain || function.call(-1).done, "the next call fails");
}

void RunFaults(Run& run, const Function& function, FaultKind kind)
{
    static auto& good = *static_cast<GoodRun*>(
        mmap(nullptr, sizeof(GoodRun), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    constexpr const char* kKinds[] = {", allocation ", ", system call ", ", interruption "};
    const std::string name = function.name + kKinds[static_cast<int>(kind)];
    long nth = 0;
    beforeCall = [&] { faults = {.kind = kind, .isArmed = true, .nth = nth, .count = 0, .failed = "nothing"}; };
    Files before, after;
    {
        const World world;
        before = FilesButIDs();
        run.InChild(name, [&] {
            World::InCgroups();
            const Answer answer = function.call(-1);
            good = {.calls = faults.count, .isDone = answer.done};
            answer.text.copy(good.text, sizeof good.text - 1);
        });
        after = FilesButIDs();
        run.InChild(name, [&] { World::InCgroups(), good.isDoneAgain = function.call(-1).done; });
    }
    run.Expect(good.isDone, name + "0: fails");
    static int turn = 0;
    const double most = function.errors ? kMostFaults : kMostFaults * run.Scale();
    const double step = std::max(1.0, static_cast<double>(good.calls) / most);
    for (double at = 1 + std::fmod(0.618 * ++turn, 1) * (step - 1);
         good.isDone && at < static_cast<double>(good.calls) + 1; at += step) {
        World world;
        nth = std::lround(std::floor(at));
        const std::string what = name + std::to_string(nth) + " of " + std::to_string(good.calls) + " (";
        run.InChild(what, [&] { Check(run, function, what, good, before, after); });
        const bool isLogged = Has(Joined(world.Log(), "\n"), "(^|\n)(ERR|WARNING) ");
        run.Expect(!good.isSilent || isLogged, what + "): neither the log nor the register says why");
        run.Done();
    }
}

} // namespace

MERO_TORTURE(faults, Machine)
{
    afterCall = [] { faults.isArmed = false; };
    std::vector<Function> functions = Functions();
    functions.insert(functions.begin(), std::begin(kPlatform), std::end(kPlatform));
    for (const Function& function : functions) {
        for (const FaultKind kind : {FaultKind::SystemCall, FaultKind::Interruption, FaultKind::Allocation}) {
            RunFaults(run, function, kind);
        }
    }
}
