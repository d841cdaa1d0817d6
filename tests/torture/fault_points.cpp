#include "torture/fault_points.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>

using namespace MERO::Torture;

constinit thread_local Faults MERO::Torture::faults{};

/// Whether this call is the one that should fail.
static bool Fails(FaultKind kind, const char* name, int error)
{
    if (!faults.isArmed || faults.kind != kind || ++faults.count != faults.nth) {
        return false;
    }
    faults.failed = name;
    errno = error;
    return true;
}

/// Fits any function of up to six numbers and addresses: all of them are passed in registers.
using Any = long(long, long, long, long, long, long);

/// Replaces a function of the C library; it returns `failure` when it should fail.
#define FAULT(name, next, fails, failure)                                                                              \
    Any Fault_##name __asm__(#name);                                                                                   \
    long Fault_##name(long a, long b, long c, long d, long e, long f)                                                  \
    {                                                                                                                  \
        return (fails) ? failure : next(a, b, c, d, e, f);                                                             \
    }
#define NEXT(name) reinterpret_cast<Any*>(dlsym(RTLD_NEXT, #name))
#define FAULT_POINT(name, error, failure) FAULT(name, NEXT(name), Fails(FaultKind::SystemCall, #name, error), failure)
/// A function that a signal can interrupt as well. `error` 0: it does not fail otherwise.
#define INTERRUPTIBLE(name, error)                                                                                     \
    FAULT(name, NEXT(name),                                                                                            \
          Fails(FaultKind::Interruption, #name, EINTR) || (error != 0 && Fails(FaultKind::SystemCall, #name, error)),  \
          -1)
/// A function that allocates. dlsym() may allocate too.
#define ALLOCATION(name)                                                                                               \
    Any __libc_##name;                                                                                                 \
    FAULT(name, __libc_##name, Fails(FaultKind::Allocation, #name, ENOMEM), 0)

extern "C" {
ALLOCATION(malloc)
ALLOCATION(calloc)
ALLOCATION(realloc)
FAULT_POINT(open, EMFILE, -1)
FAULT_POINT(openat, EMFILE, -1)
INTERRUPTIBLE(read, EIO)
INTERRUPTIBLE(write, ENOSPC)
INTERRUPTIBLE(flock, ENOLCK)
INTERRUPTIBLE(poll, 0)
INTERRUPTIBLE(waitpid, 0)
FAULT_POINT(fsync, EIO, -1)
FAULT_POINT(rename, EIO, -1)
FAULT_POINT(renameat, EIO, -1)
FAULT_POINT(link, ENOSPC, -1)
FAULT_POINT(linkat, ENOSPC, -1)
FAULT_POINT(mkdir, ENOSPC, -1)
FAULT_POINT(mkdirat, ENOSPC, -1)
FAULT_POINT(unlink, EIO, -1)
FAULT_POINT(unlinkat, EIO, -1)
FAULT_POINT(fchown, EIO, -1)
FAULT_POINT(fchmod, EIO, -1)
FAULT_POINT(fstat, EIO, -1)
FAULT_POINT(futimens, EIO, -1)
FAULT_POINT(pipe2, EMFILE, -1)
FAULT_POINT(fork, EAGAIN, -1)
FAULT_POINT(_Fork, EAGAIN, -1)
FAULT_POINT(posix_spawn, ENOMEM, ENOMEM)
FAULT_POINT(syscall, EMFILE, -1) // pidfd_open

unsigned sleep(unsigned)
{
    return 0;
}
int usleep(useconds_t)
{
    return 0;
}
}
