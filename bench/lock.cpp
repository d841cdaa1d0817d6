/// How soon is a lock taken after another process releases it, and what does waiting for it cost? Measured for the
/// platform's lock itself, and for a volume unmount action from the release until the action runs; its systemctl ends
/// immediately, so that the rest takes little time. Runs inside mero-sandbox.
#include "measure.h"
#include "peer_program.h"

#include <merocore/file.h>
#include <merosystemd/systemd.hpp>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace MERO::Bench;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr const char* kLocks = "/run/merosystemd/locks";
constexpr const char* kLock = "/run/merosystemd/locks/volume-unmount-action.lock";
constexpr int kTimes = 50;

[[noreturn]] void Fail(const char* what)
{
    std::perror(what);
    std::exit(1);
}

/// Another process that holds the lock and releases it after a while.
class Holder {
public:
    explicit Holder(Clock::duration time)
    {
        void* memory = mmap(nullptr, sizeof *released_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        int held[2];
        if (memory == MAP_FAILED || pipe2(held, O_CLOEXEC) != 0) {
            Fail("no holder");
        }
        released_ = static_cast<Clock::time_point*>(memory);
        pid_ = fork();
        if (pid_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const int file = open(kLock, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
            if (file < 0 || flock(file, LOCK_EX) != 0) {
                _exit(1);
            }
            close(held[1]);
            std::this_thread::sleep_for(time);
            *released_ = Clock::now();
            close(file);
            _exit(0);
        }
        close(held[1]);
        char nothing;
        while (read(held[0], &nothing, 1) > 0) {
        }
        close(held[0]);
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;
    ~Holder() { munmap(released_, sizeof *released_); }

    Clock::time_point Released()
    {
        int status = 0;
        if (pid_ < 0 || waitpid(pid_, &status, 0) != pid_ || status != 0) {
            Fail("the lock was not held");
        }
        return *released_;
    }

private:
    Clock::time_point* released_;
    pid_t pid_;
};

/// Takes and releases the lock; returns when it was taken.
using Taking = Clock::time_point();

Clock::time_point TakeLock()
{
    int file = -1;
    if (MLIBCFileLockTimeByFile(kLock, 1, 60, &file) != 0) {
        Fail("lock");
    }
    const auto taken = Clock::now();
    MLIBCFileUnlockByFile(file);
    return taken;
}

Clock::time_point TakeByAction()
{
    Clock::time_point taken;
    if (!_MEROSystemdVolumeUnmountAction({"/run/bench/volume"}, [&] {
            taken = Clock::now();
            return true;
        })) {
        Fail("volume unmount action");
    }
    return taken;
}

std::string MedianAndMax(std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    char text[64];
    std::snprintf(text, sizeof text, "median %.3g ms, longest %.3g ms of %zu", times[times.size() / 2], times.back(),
                  times.size());
    return text;
}

double ProcessorSeconds()
{
    rusage own{};
    rusage children{};
    getrusage(RUSAGE_SELF, &own);
    getrusage(RUSAGE_CHILDREN, &children);
    double seconds = 0;
    for (const timeval& time : {own.ru_utime, own.ru_stime, children.ru_utime, children.ru_stime}) {
        seconds += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    }
    return seconds;
}

struct Times {
    std::vector<double> free; ///< for taking a free lock
    std::vector<double> held; ///< from the release of a held lock
};

Times MeasureTaking(Taking* take)
{
    Times times;
    for (int i = 0; i < kTimes; ++i) {
        const auto begin = Clock::now();
        times.free.push_back(Milliseconds(take() - begin).count());
        Holder holder(100ms + i * 1ms); // so that waits end at different times between two attempts
        const auto taken = take();
        times.held.push_back(Milliseconds(taken - holder.Released()).count());
    }
    return times;
}

void MeasureWaiting(const std::string& who, Taking* take)
{
    Holder holder(5s);
    const double before = ProcessorSeconds();
    const auto begin = Clock::now();
    take();
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    const double use = 100 * (ProcessorSeconds() - before) / seconds;
    (void)holder.Released();
    char text[64];
    std::snprintf(text, sizeof text, "%.3f %% over %.1f s%s", use, seconds, use < 1 ? "" : ", missed");
    PrintFigure("processor use while " + who + " waits for a lock, bar 1 %", text);
}

} // namespace

int main(int argc, char* argv[])
{
    Initialize(argc, argv);
    ReplaceSystemctl("/bin/true");
    std::filesystem::create_directories(kLocks);
    const char* lock = "the platform's lock";
    const Times taking = MeasureTaking(TakeLock);
    const bool isSoon = *std::max_element(taking.held.begin(), taking.held.end()) <= 50;
    PrintFigure("from the release of a held lock to its taking, bar 50 ms",
                MedianAndMax(taking.held) + (isSoon ? "" : ", missed"));
    PrintFigure("taking of a free lock", MedianAndMax(taking.free));
    MeasureWaiting(lock, TakeLock);

    const char* action = "a volume unmount action";
    const Times running = MeasureTaking(TakeByAction);
    PrintFigure(std::string("from the release of a held lock until ") + action + " runs", MedianAndMax(running.held));
    PrintFigure(std::string("until ") + action + " runs with its lock free", MedianAndMax(running.free));
    MeasureWaiting(action, TakeByAction);
    return 0;
}
