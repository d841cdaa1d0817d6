#include "torture/fault_points.h"

#include <dlfcn.h>
#include <spawn.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <ctime>

struct stat;

using namespace MERO::Torture;

constinit thread_local Faults MERO::Torture::faults{};

/// Whether this call is the one that fails.
static bool Fails(FaultKind kind, const char* name, int error)
{
    if (!faults.isArmed || faults.kind != kind || ++faults.count != faults.nth) {
        return false;
    }
    faults.failed = name;
    errno = error;
    return true;
}

/// A function of the C library, under another name here, that fails with `error`, which some return instead of -1.
#define FAULT_POINT(result, name, parameters, arguments, error, failure)                                               \
    result Fault_##name parameters __asm__(#name);                                                                     \
    result Fault_##name parameters                                                                                     \
    {                                                                                                                  \
        static auto* const next = reinterpret_cast<result(*) parameters>(dlsym(RTLD_NEXT, #name));                     \
        return Fails(FaultKind::SystemCall, #name, error) ? failure : next arguments;                                  \
    }
/// One that asks for memory. dlsym may do that too.
#define ALLOCATION(name, parameters, arguments)                                                                        \
    void* __libc_##name parameters;                                                                                    \
    void* Fault_##name parameters __asm__(#name);                                                                      \
    void* Fault_##name parameters                                                                                      \
    {                                                                                                                  \
        return Fails(FaultKind::Allocation, #name, ENOMEM) ? nullptr : __libc_##name arguments;                        \
    }

extern "C" {
ALLOCATION(malloc, (std::size_t size), (size))
ALLOCATION(calloc, (std::size_t count, std::size_t size), (count, size))
ALLOCATION(realloc, (void* memory, std::size_t size), (memory, size))
FAULT_POINT(int, open, (const char* path, int flags, mode_t mode), (path, flags, mode), EMFILE, -1)
FAULT_POINT(int, openat, (int folder, const char* path, int flags, mode_t mode), (folder, path, flags, mode), EMFILE,
            -1)
FAULT_POINT(ssize_t, read, (int fd, void* to, std::size_t size), (fd, to, size), EIO, -1)
FAULT_POINT(ssize_t, write, (int fd, const void* from, std::size_t size), (fd, from, size), ENOSPC, -1)
FAULT_POINT(int, fsync, (int fd), (fd), EIO, -1)
FAULT_POINT(int, rename, (const char* from, const char* to), (from, to), EIO, -1)
FAULT_POINT(int, link, (const char* from, const char* to), (from, to), ENOSPC, -1)
FAULT_POINT(int, mkdir, (const char* path, mode_t mode), (path, mode), ENOSPC, -1)
FAULT_POINT(int, unlink, (const char* path), (path), EIO, -1)
FAULT_POINT(int, fchown, (int fd, uid_t user, gid_t group), (fd, user, group), EIO, -1)
FAULT_POINT(int, fchmod, (int fd, mode_t mode), (fd, mode), EIO, -1)
FAULT_POINT(int, fstat, (int fd, struct stat* status), (fd, status), EIO, -1)
FAULT_POINT(int, flock, (int fd, int operation), (fd, operation), ENOLCK, -1)
FAULT_POINT(int, futimens, (int fd, const timespec* times), (fd, times), EIO, -1)
FAULT_POINT(int, pipe2, (int* ends, int flags), (ends, flags), EMFILE, -1)
FAULT_POINT(pid_t, fork, (), (), EAGAIN, -1)
FAULT_POINT(pid_t, _Fork, (), (), EAGAIN, -1)
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
