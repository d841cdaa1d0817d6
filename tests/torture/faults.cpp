// Each call into the system that an exported function makes fails once: the 1st, the 2nd, ... the last one.
#include "torture/fault_points.h"
#include "torture/torture.h"

#include <sys/mman.h>

#include <cmath>
#include <sstream>

using namespace MERO::Torture;

namespace {

constexpr const char* kCalls = "/run/systemctl.calls";
constexpr long kMostFaults = 400; ///< of one function and kind: more calls than these are sampled

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
const BestEffort kBestEffort[] = {
    {"", "list-jobs"}, // asks for jobs that may be in the way
    {"nable", "/usr/mero/etc/merosystemd/enable-status-changed"},
    {"Disable", "/usr/mero/etc/merosystemd/enable-status"},
    {"Reason", "reset-failed|daemon-reload"},
    {"Uninstall", "is-enabled|reset-failed|/run/merosystemd/reasons/|/usr/mero/etc/merosystemd/enable-status"},
    {"Isolate", "/run/merosystemd/(status_monitor.exit.lock|isolate-state)"},
    {"KillSlice", "stop|kill a.slice"},
    {"Unmount", "/run|s|daemon-reload"}, // units that cannot be asked do not stop
};
/// Functions whose answers tell what could not be found out, or leave it out.
constexpr const char* kPartialAnswers = "IsolateTarget|UnmountPlan|IsSupportGet|ServiceListByMntPath";

bool MayBeUndone(const Function& function, const std::string& what)
{
    return std::ranges::any_of(kBestEffort, [&](const BestEffort& left) {
        return Has(function.name, left.function) && Has(what, "^(" + std::string(left.undone) + ")");
    });
}

/// Process IDs differ from run to run.
Files FilesButIDs()
{
    Files files = FilesNow();
    for (auto& [path, text] : files) {
        text = Fits(text, "[0-9]+") ? "a process ID" : text;
    }
    return files;
}

/// systemctl's runs that count.
std::string EssentialCalls(const Function& function, Files& files)
{
    std::istringstream lines(files[kCalls]);
    std::string calls;
    for (std::string line; std::getline(lines, line);) {
        MayBeUndone(function, line) ? calls : calls += line + ",";
    }
    return calls;
}

/// What a call has left on the disk: each file is whole, as it was before or as it is after a success; and after a
/// success all are as they should be. A unit that the library makes lacks a key for which there was no memory.
std::string FileFault(const Function& function, const Files& before, Files good, bool done)
{
    Files now = FilesButIDs();
    const std::string calls = EssentialCalls(function, now);
    if (done && calls != EssentialCalls(function, good)) {
        return "systemctl has only run: " + calls;
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

/// How the first call ends, and that the next one works.
void Check(Run& run, const Function& function, const std::string& what, const GoodRun& good, const Files& before,
           const Files& after)
{
    World::InCgroups();
    const std::string footprint = Footprint();
    const Answer answer = function.call(-1);
    const auto expect = [&](bool holds, const std::string& otherwise) {
        run.Expect(holds, what + faults.failed + "): " + otherwise);
    };
    run.ExpectSame(footprint, Footprint(), what + faults.failed + "): ");
    const bool mayThrow =
        !function.name.starts_with("MEROC") && (function.mayThrow || answer.thrown == "std::bad_alloc");
    expect(answer.thrown.empty() || mayThrow, "throws " + answer.thrown);
    const bool isPartial = Has(function.name, kPartialAnswers);
    expect(!answer.done || answer.text == good.text || isPartial, "succeeds, and answers " + answer.text);
    const std::string fileFault = FileFault(function, before, after, answer.done);
    expect(fileFault.empty(), fileFault);
    beforeCall = [] {};
    expect(!good.isDoneAgain || function.call(-1).done, "the next call fails");
}

void RunFaults(Run& run, const Function& function, FaultKind kind)
{
    static auto& good = *static_cast<GoodRun*>(
        mmap(nullptr, sizeof(GoodRun), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const std::string name = function.name + (kind == FaultKind::Allocation ? ", allocation " : ", system call ");
    long nth = 0;
    beforeCall = [&] { faults = {.kind = kind, .isArmed = true, .nth = nth, .count = 0, .failed = "nothing"}; };
    Files before, after;
    {
        const World world;
        before = FilesButIDs();
        run.InChild(name, [&] {
            World::InCgroups();
            const Answer answer = function.call(-1);
            good = {.calls = faults.count, .isDone = answer.done, .isDoneAgain = false, .text = {}};
            answer.text.copy(good.text, sizeof good.text - 1);
        });
        after = FilesButIDs();
        run.InChild(name, [&] { World::InCgroups(), good.isDoneAgain = function.call(-1).done; });
    }
    run.Expect(good.isDone, name + "0: fails");
    const double step = std::max(1.0, static_cast<double>(good.calls) / (kMostFaults * run.Scale()));
    for (double at = 1; good.isDone && at < static_cast<double>(good.calls) + 1; at += step) {
        const World world;
        nth = std::lround(std::floor(at));
        const std::string what = name + std::to_string(nth) + " of " + std::to_string(good.calls) + " (";
        run.InChild(what, [&] { Check(run, function, what, good, before, after); });
        run.Done();
    }
}

} // namespace

MERO_TORTURE(faults, Machine)
{
    afterCall = [] { faults.isArmed = false; };
    for (const Function& function : Functions()) {
        RunFaults(run, function, FaultKind::SystemCall);
        RunFaults(run, function, FaultKind::Allocation);
    }
}
