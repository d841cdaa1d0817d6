#include "torture/fault_points.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstddef>

namespace MERO::Torture {
namespace {

struct State {
    bool isArmed = false;
    FaultKind kind{};
    long nth = 0;
    long count = 0;
    const char* failed = "nothing";
};
__attribute__((tls_model("initial-exec"))) thread_local State state;

/// Whether this call is the one that fails.
bool Fails(FaultKind kind, const char* name, int error)
{
    if (!state.isArmed || state.kind != kind || ++state.count != state.nth) {
        return false;
    }
    state.failed = name;
    errno = error;
    return true;
}

template <typename Function>
Function* Next(const char* name, Function*)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

void ArmFaults(FaultKind kind, long nth)
{
    state = {.isArmed = true, .kind = kind, .nth = nth};
}

long DisarmFaults()
{
    state.isArmed = false;
    return state.count;
}

const char* FailedCall()
{
    return state.failed;
}

} // namespace MERO::Torture

using namespace MERO::Torture;

/// A function of the C library that fails with `error`, which some return instead of -1.
#define FAULT_POINT(result, name, parameters, arguments, error, failure)                                               \
    result name parameters                                                                                             \
    {                                                                                                                  \
        static auto* const next = Next(#name, static_cast<result(*) parameters>(nullptr));                             \
        return Fails(FaultKind::SystemCall, #name, error) ? failure : next arguments;                                  \
    }

#pragma GCC diagnostic ignored "-Wmissing-attributes"
#pragma GCC diagnostic ignored "-Wnonnull-compare"

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);

void* malloc(std::size_t size) noexcept
{
    return Fails(FaultKind::Allocation, "malloc", ENOMEM) ? nullptr : __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) noexcept
{
    return Fails(FaultKind::Allocation, "calloc", ENOMEM) ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size) noexcept
{
    return Fails(FaultKind::Allocation, "realloc", ENOMEM) ? nullptr : __libc_realloc(memory, size);
}

int open(const char* path, int flags, ...)
{
    static auto* const next = Next("open", static_cast<int (*)(const char*, int, ...)>(nullptr));
    va_list values;
    va_start(values, flags);
    const mode_t mode = va_arg(values, mode_t);
    va_end(values);
    return Fails(FaultKind::SystemCall, "open", EMFILE) ? -1 : next(path, flags, mode);
}
int openat(int folder, const char* path, int flags, ...)
{
    static auto* const next = Next("openat", static_cast<int (*)(int, const char*, int, ...)>(nullptr));
    va_list values;
    va_start(values, flags);
    const mode_t mode = va_arg(values, mode_t);
    va_end(values);
    return Fails(FaultKind::SystemCall, "openat", EMFILE) ? -1 : next(folder, path, flags, mode);
}
FAULT_POINT(ssize_t, read, (int fd, void* to, std::size_t size), (fd, to, size), EIO, -1)
FAULT_POINT(ssize_t, write, (int fd, const void* from, std::size_t size), (fd, from, size), ENOSPC, -1)
FAULT_POINT(int, fsync, (int fd), (fd), EIO, -1)
FAULT_POINT(int, rename, (const char* from, const char* to) noexcept, (from, to), EIO, -1)
FAULT_POINT(int, link, (const char* from, const char* to) noexcept, (from, to), ENOSPC, -1)
FAULT_POINT(int, mkdir, (const char* path, mode_t mode) noexcept, (path, mode), ENOSPC, -1)
FAULT_POINT(int, unlink, (const char* path) noexcept, (path), EIO, -1)
FAULT_POINT(int, fchown, (int fd, uid_t user, gid_t group) noexcept, (fd, user, group), EIO, -1)
FAULT_POINT(int, fchmod, (int fd, mode_t mode) noexcept, (fd, mode), EIO, -1)
FAULT_POINT(int, fstat, (int fd, struct stat* status) noexcept, (fd, status), EIO, -1)
FAULT_POINT(int, flock, (int fd, int operation) noexcept, (fd, operation), ENOLCK, -1)
FAULT_POINT(int, futimens, (int fd, const timespec* times) noexcept, (fd, times), EIO, -1)
FAULT_POINT(int, pipe2, (int* ends, int flags) noexcept, (ends, flags), EMFILE, -1)
FAULT_POINT(pid_t, fork, () noexcept, (), EAGAIN, -1)
FAULT_POINT(pid_t, _Fork, () noexcept, (), EAGAIN, -1)
FAULT_POINT(int, posix_spawn,
            (pid_t * child, const char* path, const posix_spawn_file_actions_t* actions,
             const posix_spawnattr_t* attributes, char* const* argv, char* const* variables),
            (child, path, actions, attributes, argv, variables), ENOMEM, ENOMEM)

unsigned sleep(unsigned)
{
    return 0;
}
int usleep(useconds_t)
{
    return 0;
}
}
