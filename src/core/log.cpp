#include "core/log.h"

#include "platform/core/owners.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

namespace MERO::Systemd {
namespace {

constexpr unsigned kLimitSeconds = 10;

// Changed only in a forked child, which has one thread.
bool isLimited = false;
bool isBlocked = false;
sigjmp_buf tooLate;

constexpr bool IsControl(unsigned char c) // char is signed on some processors
{
    return c < ' ' || c == '\x7f';
}

/// The longest message that arrives. The kernel refuses a datagram unless it is at least 32 bytes smaller than the
/// sender's buffer, and syslog drops it silently. We cannot ask the C library's own socket, but a new one has the same
/// buffer size.
std::size_t LongestMessage()
{
    constexpr int kBeforeIt = 256; // syslog's priority, time and program name, and our source line
    constexpr int kAtLeast = 65'536;
    const Descriptor fresh(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    int size = 0;
    socklen_t length = sizeof size;
    const bool isKnown = getsockopt(fresh.Get(), SOL_SOCKET, SO_SNDBUF, &size, &length) == 0;
    return static_cast<std::size_t>(std::max(kAtLeast, isKnown ? size - 32 - kBeforeIt : 0));
}

void Cut(char* message, std::size_t size)
{
    const std::size_t longest = LongestMessage();
    if (size <= longest) {
        return;
    }
    char mark[64];
    const int markSize = std::snprintf(mark, sizeof mark, " [cut: the message has %zu bytes]", size);
    std::size_t end = longest - static_cast<std::size_t>(markSize);
    for (int steps = 0; steps < 3 && (message[end] & 0xC0) == 0x80; ++steps) {
        --end; // never cut within a UTF-8 character: the journal would treat the line as binary
    }
    std::strcpy(message + end, mark);
}

} // namespace

LogText::LogText(const char* text, std::string_view kept) : text_(text)
{
    const auto mustBeWritten = [kept](char c) { return IsControl(c) && kept.find(c) == kept.npos; };
    const std::string_view whole = text != nullptr ? text : "";
    size_ = whole.size();
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
        size_ = written_.size();
    } catch (const std::bad_alloc&) {
        text_ = "(no memory to show it)";
    }
}

void Log(int priority, SourceLine where, const char* format, ...)
{
    const volatile int reason = errno; // volatile: keeps its value across siglongjmp

    // The prefix is added to the format, not to the message, so that the message is formatted only once.
    char prefixed[512];
    std::snprintf(prefixed, sizeof prefixed, "%s:%d merosystemd: %s", where.file, where.line, format);

    if (isLimited && (isBlocked || sigsetjmp(tooLate, 1) != 0)) {
        isBlocked = true; // syslog's lock stays taken, so later lines would hang too
        errno = reason;
        return;
    }
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

void LogLong(int priority, SourceLine where, const char* format, ...)
{
    const int reason = errno;
    char* text = nullptr;
    va_list values;
    va_start(values, format);
    const int size = vasprintf(&text, format, values);
    va_end(values);
    const CMemory<char> message(size >= 0 ? text : nullptr);
    if (message != nullptr) {
        Cut(message.get(), static_cast<std::size_t>(size));
    }
    errno = reason;
    Log(priority, where, "%s", message != nullptr ? message.get() : "(no memory to show it)");
}

void LimitLogging()
{
    std::signal(SIGALRM, [](int) { siglongjmp(tooLate, 1); });
    isLimited = true;
}

} // namespace MERO::Systemd
