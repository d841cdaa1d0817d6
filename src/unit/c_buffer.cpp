#include "unit/c_buffer.h"

#include <merocore/error.h>

#include <cstdio>

namespace MERO::Systemd {

bool CopyToBuffer(SourceLine where, const std::string& text, char* buffer, int cbBuffer)
{
    if (text.size() + 1 > static_cast<std::size_t>(cbBuffer)) {
        MLIBCErrSetEx(MLIBC_ERR_BUFFER_TOO_SMALL, where.file, where.line);
        return false;
    }
    std::snprintf(buffer, static_cast<std::size_t>(cbBuffer), "%s", text.c_str());
    return true;
}

} // namespace MERO::Systemd
