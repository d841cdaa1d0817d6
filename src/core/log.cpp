#include "core/log.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <new>

namespace MERO::Systemd {
namespace {

constexpr unsigned kLimitSeconds = 10;

bool isLimited = false; // only ever changed in a child with one thread

constexpr bool IsControl(char c)
{
    return (c >= '\0' && c < ' ') || c == '\x7f';
}

} // namespace

LogText::LogText(const char* text, std::string_view kept) : text_(text)
{
    const auto mustBeWritten = [kept](char c) { return IsControl(c) && kept.find(c) == kept.npos; };
    const std::string_view whole = text != nullptr ? text : "";
    if (std::none_of(whole.begin(), whole.end(), mustBeWritten)) {
        return;
    }
    try {
        for (char c : whole) {
            char code[8];
            std::snprintf(code, sizeof code, mustBeWritten(c) ? "\\x%02x" : "%c", c);
            written_ += code;
        }
        text_ = written_.c_str();
    } catch (const std::bad_alloc&) {
        text_ = "(no memory to show it)";
    }
}

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
