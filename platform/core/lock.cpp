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

// flock has no timed wait, and an alarm signal would be the host's: so it is asked for again, often enough for
// callers not to notice and seldom enough to cost no processor time.
constexpr auto kRetryInterval = 20ms;

// Ordinary users must not be able to open a lock file: anybody who can, can hold the lock for ever.
constexpr mode_t kLockFileMode = 0600;

} // namespace

int MLIBCFileLockTimeByFile(const char* path, int exclusive, int timeoutSeconds, int* fd)
{
    if (path == nullptr || timeoutSeconds < 0 || fd == nullptr) {
        return MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
    }
    Descriptor file;
    {
        const CancelBlock block; // a thread that is cancelled in open() would lose the descriptor
        file = Descriptor(open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY, kLockFileMode));
    }
    if (!file) {
        return MERO_FAIL(MLIBC_ERR_OPEN_FILE);
    }
    const int operation = exclusive != 0 ? LOCK_EX : LOCK_SH;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(timeoutSeconds);
    while (Uninterrupted([&] { return flock(file.Get(), operation | LOCK_NB); }) != 0) {
        const auto left = deadline - std::chrono::steady_clock::now();
        if (errno != EWOULDBLOCK) {
            return MERO_FAIL(MLIBC_ERR_OPEN_FILE);
        }
        if (left <= 0s) {
            return MERO_FAIL(MLIBC_ERR_LOCK_BUSY);
        }
        std::this_thread::sleep_for(std::min<std::chrono::nanoseconds>(left, kRetryInterval));
    }
    *fd = file.Release();
    return 0;
}

int MLIBCFileUnlockByFile(int fd)
{
    if (fd < 0) {
        return MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
    }
    // No LOCK_UN: that would take the lock from a forked child that holds a copy of the descriptor too.
    return close(fd) == 0 || errno == EINTR ? 0 : MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
}
