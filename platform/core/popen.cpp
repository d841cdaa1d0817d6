#include "fail.h"
#include "owners.h"
#include "spawn.h"
#include "system_calls.h"

#include <merocore/process.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

using namespace MERO;
using namespace MERO::Core;

namespace {

/// The program that a stream reads from. The stream owns it (fopencookie), so no table of open streams is needed.
struct Child {
    Descriptor output;
    pid_t pid;
};

thread_local pid_t closedChild = -1; // carries the ID from CloseChild to MLIBCPclose, through fclose

ssize_t ReadChild(void* cookie, char* buffer, size_t size)
{
    return Uninterrupted([&] { return read(static_cast<Child*>(cookie)->output.Get(), buffer, size); });
}

int CloseChild(void* cookie)
{
    const std::unique_ptr<Child> child(static_cast<Child*>(cookie));
    closedChild = child->pid;
    return 0;
}

} // namespace

FILE* MLIBCPopenvc(const char* path, const char* mode, char* const argv[])
{
    return MLIBCPopenvce(path, mode, argv, environ);
}

FILE* MLIBCPopenvce(const char* path, const char* mode, char* const argv[], char* const envp[])
{
    const bool withErrors = mode != nullptr && std::strcmp(mode, "rB") == 0;
    if (path == nullptr || argv == nullptr || mode == nullptr || (!withErrors && std::strcmp(mode, "r") != 0)) {
        MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
        return nullptr;
    }
    std::unique_ptr<Child> child(new (std::nothrow) Child{});
    int ends[2];
    if (child == nullptr || pipe2(ends, O_CLOEXEC) != 0) {
        MERO_FAIL(MLIBC_ERR_START_PROGRAM);
        return nullptr;
    }
    child->output = Descriptor(ends[0]);
    Descriptor writeEnd(ends[1]);

    // The stream is made first, so that nothing can fail once the program runs.
    FILE* stream =
        fopencookie(child.get(), "r", {.read = ReadChild, .write = nullptr, .seek = nullptr, .close = CloseChild});
    if (stream == nullptr) {
        MERO_FAIL(MLIBC_ERR_START_PROGRAM);
        return nullptr;
    }
    Child& started = *child.release();
    started.pid = Spawn(path, argv, envp,
                        {.standardOutput = writeEnd.Get(), .standardError = withErrors ? writeEnd.Get() : kInherit});
    if (started.pid < 0) {
        const int reason = errno;
        std::fclose(stream);
        errno = reason;
        MERO_FAIL(MLIBC_ERR_START_PROGRAM);
        return nullptr;
    }
    return stream;
}

int MLIBCPclose(FILE* stream)
{
    if (stream == nullptr) {
        return MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
    }
    closedChild = -1;
    std::fclose(stream);
    return closedChild > 0 ? WaitStatus(closedChild) : -1;
}
