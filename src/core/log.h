#pragma once

#include <syslog.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

namespace MERO::Systemd {

/// A source line, as log lines and the error register name it.
struct SourceLine {
    const char* file; ///< without folder and extension; valid as long as the library is loaded
    int line;
};

/// Cuts a source path down, at compile time, to the name that log lines show.
template <std::size_t N>
struct SourceName {
    char text[N]{};

    consteval SourceName(const char (&path)[N])
    {
        std::size_t begin = 0;
        std::size_t end = N - 1;
        for (std::size_t i = 0; i < N; ++i) {
            if (path[i] == '/') {
                begin = i + 1;
            }
        }
        for (std::size_t i = begin; i < N; ++i) {
            if (path[i] == '.') {
                end = i;
            }
        }
        for (std::size_t i = begin; i < end; ++i) {
            text[i - begin] = path[i];
        }
    }

    constexpr operator std::string_view() const { return text; }
};

static_assert(SourceName("../src-7.0.0/b.d/systemd_daemon-reload.cpp") == std::string_view("systemd_daemon-reload"));
static_assert(SourceName("systemd_internal_lib") == std::string_view("systemd_internal_lib"));

template <SourceName kName>
inline constexpr const char* kSourceText = kName.text;

/// Logs "<file>:<line> merosystemd: <message>" through syslog. Keeps errno.
void Log(int priority, SourceLine where, const char* format, ...) __attribute__((format(printf, 3, 4)));

/// The same for a message that may be longer than the log's socket takes and would be lost: it is cut, and says so.
void LogLong(int priority, SourceLine where, const char* format, ...) __attribute__((format(printf, 3, 4)));

/// A message whose texts are together no longer than this always fits the log's socket.
inline constexpr std::size_t kShortMessage = 60'000;

/// A text as log lines show it. Control characters are escaped ("\x0a"), so that no name from a caller or a file can
/// start a line of its own in the log.
class LogText {
public:
    /// Does not escape the characters in `kept`.
    explicit LogText(const char* text, std::string_view kept = "");

    const char* Get() const { return text_; }
    std::size_t Size() const { return size_; }

private:
    std::string written_;
    const char* text_;
    std::size_t size_;
};

template <typename Number>
class LogNumber {
public:
    explicit LogNumber(Number number) : number_(number) {}
    Number Get() const { return number_; }
    static std::size_t Size() { return 0; } // next to nothing

private:
    Number number_;
};

template <typename Value>
using LogValue = std::conditional_t<std::is_pointer_v<Value>, LogText, LogNumber<Value>>;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security" // the macros below let the compiler check the format
template <typename... Shown>
void LogShown(int priority, SourceLine where, const char* format, const Shown&... shown)
{
    const bool isShort = (std::size_t{0} + ... + shown.Size()) <= kShortMessage;
    (isShort ? Log : LogLong)(priority, where, format, shown.Get()...);
}
#pragma GCC diagnostic pop

/// Log, with texts escaped as in LogText.
template <typename... Values>
void LogPrintable(int priority, SourceLine where, const char* format, Values... values)
{
    LogShown(priority, where, format, LogValue<Values>(values)...);
}

/// The same with a program's output as the last value, whose line breaks are kept.
template <typename... Values>
void LogOutput(int priority, SourceLine where, const std::string& output, const char* format, Values... values)
{
    LogShown(priority, where, format, LogValue<Values>(values)..., LogText(output.c_str(), "\n\t"));
}

/// For a forked child: if a line cannot be written within ten seconds, gives up that line and all later ones. Another
/// thread may have held syslog's lock at the time of the fork, and nobody in the child will free it.
void LimitLogging();

} // namespace MERO::Systemd

// The name that this source file's log lines show. A file that logs under another name defines it before its includes.
#ifndef MERO_SOURCE_NAME
#define MERO_SOURCE_NAME __FILE__ // the file that logs, even if several are compiled together
#endif

#define MERO_HERE (::MERO::Systemd::SourceLine{::MERO::Systemd::kSourceText<MERO_SOURCE_NAME>, __LINE__})

/// Logs with the given source line. The first branch never runs; it lets the compiler check the format.
#define MERO_LOG_AT(where, priority, ...)                                                                              \
    (false ? ::MERO::Systemd::Log((priority), (where), __VA_ARGS__)                                                    \
           : ::MERO::Systemd::LogPrintable((priority), (where), __VA_ARGS__))
#define MERO_LOG(priority, ...) MERO_LOG_AT(MERO_HERE, priority, __VA_ARGS__)

/// The same for a format whose last value is a program's output: a std::string, passed before the format.
#define MERO_LOG_OUTPUT_AT(where, priority, output, ...)                                                               \
    (false ? ::MERO::Systemd::Log((priority), (where), __VA_ARGS__, (output).c_str())                                  \
           : ::MERO::Systemd::LogOutput((priority), (where), (output), __VA_ARGS__))
#define MERO_LOG_OUTPUT(priority, output, ...) MERO_LOG_OUTPUT_AT(MERO_HERE, priority, output, __VA_ARGS__)
