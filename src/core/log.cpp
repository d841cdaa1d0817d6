#include "core/log.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>

namespace MERO::Systemd {
namespace {

constexpr unsigned kLimitSeconds = 10;

bool isLimited = false; // only ever changed in a child with one thread

} // namespace

void Log(int priority, SourceLine where, const char* format, ...)
{
    const int reason = errno;

    // The prefix joins the format, not the message, so that the message is formatted once.
    char prefixed[512];
    std::snprintf(prefixed, sizeof prefixed, "%s:%d merosystemd: %s", where.file, where.line, format);

    if (isLimited) {
        alarm(kLimitSeconds);
    }
    errno = reason;
    va_list values;
    va_start(values, format);
    vsyslog(priority, prefixed, values);
    va_end(values);
    if (isLimited) {
        alarm(0);
    }
    errno = reason;
}

void LimitLogging()
{
    std::signal(SIGALRM, [](int) { _exit(0); });
    isLimited = true;
}

} // namespace MERO::Systemd
