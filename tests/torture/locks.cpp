/// The locks between processes: one holder at a time, free when the holder is gone, not kept by what it has started.
#include "long_run.h"

#include "core/executor.h"
#include "core/lock.h"

#include <merosystemd/systemd.hpp>

#include <sys/mman.h>
#include <sys/stat.h>

#include <atomic>

using namespace MERO::Systemd;
using namespace MERO::Torture;

namespace {

constexpr int kProcesses = 8;

/// What all processes see.
struct Shared {
    std::atomic<int> writers, readers, system, turns, clashes, refusals;
    std::atomic<bool> isHeld;
    std::atomic<int> unmounts, isolations, overlaps;
};
Shared& shared =
    *static_cast<Shared*>(mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));

/// Holds a lock of the kind for a moment: nobody else may, except readers with readers.
void TakeTurn(std::mt19937& random)
{
    const bool isSystem = random() % 4 == 0;
    const bool exclusive = isSystem || random() % 2 == 0;
    SystemOperationLock systemLock;
    FileLock volumeLock(kIsolateAndVolumeUnmountLock, exclusive, 300);
    FileLock& lock = isSystem ? systemLock : volumeLock;
    if (!lock.Acquire()) {
        ++shared.refusals;
        return;
    }
    std::atomic<int>& mine = isSystem ? shared.system : exclusive ? shared.writers : shared.readers;
    const int before = mine++;
    const bool isAlone = before == 0 && (isSystem || shared.readers == 0);
    if (exclusive ? !isAlone : shared.writers != 0) {
        ++shared.clashes;
    }
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 300));
    if (exclusive && mine != 1) {
        ++shared.clashes;
    }
    --mine;
    ++shared.turns;
    if (random() % 2 == 0) {
        lock.Release(); // otherwise its destructor does
    }
}

void TakeTurns(Run& run)
{
    const int turns = run.Scaled(1000);
    std::vector<pid_t> pids;
    for (int i = 0; i < kProcesses; ++i) {
        pids.push_back(Fork([&, seed = run.Random(1 << 30)] {
            std::mt19937 random(static_cast<unsigned>(seed));
            for (int turn = 0; turn < turns; ++turn) {
                TakeTurn(random);
            }
            return true;
        }));
    }
    for (const pid_t pid : pids) {
        run.Expect(WaitStatus(pid) == 0, "a process of the turns ended badly");
    }
    run.Done(shared.turns);
    run.Expect(shared.clashes == 0, std::to_string(shared.clashes) + " times two held a lock");
    run.Expect(shared.refusals == 0, std::to_string(shared.refusals) + " times a lock was refused");
}

/// A holder starts a program, and is killed while that still runs.
void KillHolder(Run& run, double& slowest)
{
    const std::string path = "/run/merosystemd/locks/system-operation.lock";
    shared.isHeld = false;
    const int moment = run.Random(4000);
    const pid_t pid = Fork([] {
        SystemOperationLock lock;
        if (!lock.Acquire()) {
            return false;
        }
        shared.isHeld = true;
        Executor executor;
        for (;;) {
            executor.Execute("/bin/sh", {"-c", "sleep 1 > /dev/null 2>&1 &"});
        }
    });
    run.Expect(Comes(10s, [] { return shared.isHeld.load(); }), "the lock was not taken");
    run.Expect(!IsFree(path), "a lock that is held seems free");
    std::this_thread::sleep_for(std::chrono::microseconds(moment * 5));
    kill(pid, SIGKILL);
    const auto start = Clock::now();
    run.Expect(Comes(5s, [&] { return IsFree(path); }), "a killed holder's lock was kept");
    const double took = Since(start);
    slowest = std::max(slowest, took);
    run.Expect(took < 0.1, "a killed holder's lock was free after " + std::to_string(took) + " s");
    WaitStatus(pid);
    run.Done();
}

/// Stays for a moment where nobody of the other kind may be.
bool Stay(std::atomic<int>& mine, std::atomic<int>& others)
{
    const int before = mine++;
    if (before != 0 || others != 0) {
        ++shared.overlaps;
    }
    std::this_thread::sleep_for(20ms);
    if (others != 0) {
        ++shared.overlaps;
    }
    --mine;
    return true;
}

/// Unmount actions against isolations. An isolation's interval is that of a service which its target waits for.
void CrossUnmountsAndIsolations(Run& run)
{
    const std::string fifo = "/run/isolating";
    std::filesystem::remove("/etc/systemd/system/default.target"); // would win
    Unit("default.target", "[Unit]\nAllowIsolate=yes\nWants=mero-sandbox.target user.service\n");
    Unit("quiet.target", "[Unit]\nAllowIsolate=yes\nWants=mero-sandbox.target user.service isolating.service\n"
                         "After=isolating.service\n");
    Unit("isolating.service", "[Service]\nType=oneshot\nExecStart=/bin/sh -c 'echo begin > " + fifo +
                                  "; sleep 0.03; echo end > " + fifo + "'\n");
    Unit("user.service", "[Service]\nExecStart=/bin/sleep infinity\n[X-Tarvix]\nVolumeDependency=all\n");
    mkfifo(fifo.c_str(), 0600);
    MEROSystemdDaemonReload();
    run.Expect(MEROSystemdStart("user"), "user.service did not start");

    const pid_t recorder = Fork([&] {
        FILE* stream = fopen(fifo.c_str(), "r+e"); // a writer too: the end does not come
        for (char line[16]; fgets(line, sizeof line, stream) != nullptr;) {
            shared.isolations = std::string(line) == "begin\n";
            if (shared.unmounts != 0) {
                ++shared.overlaps;
            }
        }
        return true;
    });
    const int turns = run.Scaled(200);
    const auto repeat = [&](auto&& operation) {
        return Fork([&] {
            bool done = true;
            for (int turn = 0; turn < turns / 2; ++turn) {
                done = operation() && done;
            }
            return done;
        });
    };
    const auto unmount = [] {
        return _MEROSystemdVolumeUnmountAction({"/vol"}, [] { return Stay(shared.unmounts, shared.isolations); });
    };
    const auto isolate = [] {
        return MEROSystemdIsolateTarget("quiet.target", nullptr) && MEROSystemdIsolateToDefaultTarget();
    };
    const std::vector pids{repeat(unmount), repeat(unmount), repeat(isolate), repeat(isolate)};
    const auto deadline = Clock::now() + std::chrono::seconds(60 + 10 * turns);
    for (const pid_t pid : pids) {
        int status = -1;
        const bool ended = Comes(std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()),
                                 [&] { return waitpid(pid, &status, WNOHANG) == pid; });
        run.Expect(ended, "unmount actions and isolations block each other");
        run.Expect(!ended || status == 0, "an unmount action or an isolation failed");
        kill(pid, SIGKILL);
        run.Done(turns / 2);
    }
    run.Expect(shared.overlaps == 0, std::to_string(shared.overlaps) + " times they overlapped");
    Kill(recorder);
}

} // namespace

int main(int argc, char* argv[])
{
    Run run("locks", argc, argv);
    TakeTurns(run);
    double slowest = 0;
    for (int left = run.Scaled(300); left > 0; --left) {
        KillHolder(run, slowest);
    }
    std::cerr << "locks: a killed holder's lock was free after " << slowest * 1000 << " ms at most\n";
    CrossUnmountsAndIsolations(run);
    return run.End();
}
