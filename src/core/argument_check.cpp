#include "core/argument_check.h"

#include <merocore/error.h>

namespace MERO::Systemd {

bool CheckArgument(bool valid, SourceLine where, const char* condition)
{
    if (!valid) {
        // "Invaild" is how the system's logs have always spelt it, and what their readers search for.
        syslog(LOG_ERR, "%s:%d Invaild Argument (%s)=[%d]\n", where.file, where.line, condition, 0);
        MLIBCErrSetEx(MLIBC_ERR_INVALID_ARGUMENT, where.file, where.line);
    }
    return valid;
}

} // namespace MERO::Systemd
