#include "fail.h"
#include "spawn.h"

#include <merocore/process.h>

#include <unistd.h>

using namespace MERO::Core;

int MLIBCExec(const char* path, const char* a1, const char* a2, const char* a3, const char* a4)
{
    if (path == nullptr) {
        return MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
    }
    // exec declares its arguments mutable for historical reasons, but does not change them.
    char* const argv[] = {const_cast<char*>(path), const_cast<char*>(a1), const_cast<char*>(a2),
                          const_cast<char*>(a3),   const_cast<char*>(a4), nullptr};
    const pid_t pid = Spawn(path, argv, environ, {.standardOutput = kDevNull, .standardError = kDevNull});
    if (pid < 0) {
        return MERO_FAIL(MLIBC_ERR_START_PROGRAM);
    }
    return WaitStatus(pid) == 0 ? 0 : MERO_FAIL(MLIBC_ERR_PROGRAM_FAILED);
}
