#include "fail.h"
#include "owners.h"

#include <merocore/file.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace MERO;
using namespace MERO::Core;

int MLIBCFileExist(const char* path)
{
    return path != nullptr && access(path, F_OK) == 0 ? 1 : 0;
}

int MLIBCFileTouch(const char* path)
{
    if (path == nullptr) {
        return MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
    }
    // O_NONBLOCK: a FIFO of that name must not block the caller.
    Descriptor file(open(path, O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0644));
    if (!file || futimens(file.Get(), nullptr) != 0) {
        return MERO_FAIL(MLIBC_ERR_OPEN_FILE);
    }
    return 0;
}

int MLIBCFileCheckDir(const char* path)
{
    struct stat status;
    if (path == nullptr || stat(path, &status) != 0 || !S_ISDIR(status.st_mode)) {
        return MERO_FAIL(MLIBC_ERR_OPEN_DIRECTORY);
    }
    return 0;
}
