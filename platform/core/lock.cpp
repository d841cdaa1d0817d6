#include "fail.h"
#include "owners.h"
#include "system_calls.h"

#include <merocore/file.h>

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

using namespace MERO;
using namespace MERO::Core;
using namespace std::chrono_literals;

namespace {

// flock() has no timeout, and an alarm signal would interfere with the host process: so we poll. The interval grows
// with the wait: 5% of the time so far, within these bounds. (inotify would report the release at once, but closing its
// descriptor takes 20 ms.)
constexpr std::chrono::nanoseconds kShortestInterval = 1ms;
constexpr std::chrono::nanoseconds kLongestInterval = 20ms;

// Ordinary users must not be able to open a lock file: anyone who can may hold the lock for ever.
constexpr mode_t kLockFileMode = 0600;

} // namespace

int MLIBCFileLockTimeByFile(const char* path, int exclusive, int timeoutSeconds, int* fd)
{
    if (path == nullptr || timeoutSeconds < 0 || fd == nullptr) {
        return MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
    }
    Descriptor file;
    {
        const CancelBlock block; // a thread cancelled in open() would leak the descriptor
        file = Descriptor(open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY, kLockFileMode));
    }
    if (!file) {
        return MERO_FAIL(MLIBC_ERR_OPEN_FILE);
    }
    const int operation = exclusive != 0 ? LOCK_EX : LOCK_SH;
    const auto begin = std::chrono::steady_clock::now();
    const auto deadline = begin + std::chrono::seconds(timeoutSeconds);
    while (Uninterrupted([&] { return flock(file.Get(), operation | LOCK_NB); }) != 0) {
        const auto now = std::chrono::steady_clock::now();
        const auto left = deadline - now;
        if (errno != EWOULDBLOCK) {
            return MERO_FAIL(MLIBC_ERR_OPEN_FILE);
        }
        if (left <= 0s) {
            return MERO_FAIL(MLIBC_ERR_LOCK_BUSY);
        }
        const auto interval =
            std::clamp<std::chrono::nanoseconds>((now - begin) / 20, kShortestInterval, kLongestInterval);
        std::this_thread::sleep_for(std::min<std::chrono::nanoseconds>(left, interval));
    }
    *fd = file.Release();
    return 0;
}

int MLIBCFileUnlockByFile(int fd)
{
    if (fd < 0) {
        return MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
    }
    // No LOCK_UN: it would also take the lock from a forked child that has a copy of the descriptor.
    return close(fd) == 0 || errno == EINTR ? 0 : MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
}
