#include "core/log.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace MERO::Systemd {

void Log(int priority, SourceLine where, const char* format, ...)
{
    const int reason = errno;

    // The prefix joins the format, not the message, so that the message is formatted once.
    char prefixed[512];
    std::snprintf(prefixed, sizeof prefixed, "%s:%d merosystemd: %s", where.file, where.line, format);

    errno = reason;
    va_list values;
    va_start(values, format);
    vsyslog(priority, prefixed, values);
    va_end(values);
    errno = reason;
}

} // namespace MERO::Systemd
