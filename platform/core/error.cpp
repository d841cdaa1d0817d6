#include <merocore/error.h>

#include <cstring>

namespace {

struct Register {
    int code;
    int line;
    char file[64]; // a copy: the library that set it may be unloaded by the time it is read
};

thread_local Register lastError{};

} // namespace

void MLIBCErrSetEx(int code, const char* file, int line)
{
    const char* path = file != nullptr ? file : "";
    const char* slash = std::strrchr(path, '/');
    const char* name = slash != nullptr ? slash + 1 : path;
    const char* dot = std::strrchr(name, '.');
    const std::size_t length = dot != nullptr ? static_cast<std::size_t>(dot - name) : std::strlen(name);
    Register& last = lastError; // each access to the thread_local is a function call
    const std::size_t kept = length < sizeof last.file ? length : sizeof last.file - 1;

    last.code = code;
    last.line = line;
    std::memcpy(last.file, name, kept);
    last.file[kept] = '\0';
}

int MLIBCErrGet(void)
{
    return lastError.code;
}

const char* MLIBCErrorGetFile(void)
{
    return lastError.file;
}

int MLIBCErrorGetLine(void)
{
    return lastError.line;
}
