#pragma once

#include <syslog.h>

#include <cstddef>
#include <string_view>

namespace MERO::Systemd {

/// A place in the source as log lines and the error register name it.
struct SourceLine {
    const char* file; ///< without folder and extension; lives as long as the library
    int line;
};

/// A source path cut down, when the library is compiled, to the name that log lines carry.
template <std::size_t N>
struct SourceName {
    char text[N]{};

    consteval explicit SourceName(const char (&path)[N])
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

/// Logs "<file>:<line> merosystemd: <message>" through syslog. Keeps errno.
void Log(int priority, SourceLine where, const char* format, ...) __attribute__((format(printf, 3, 4)));

/// In a child that was forked without an exec: a line that cannot be written within ten seconds ends the process with
/// _exit(0). syslog's lock may have been another thread's at the time of the fork, and that thread is not here to
/// give it back.
void LimitLogging();

} // namespace MERO::Systemd

// The name that this source file's lines carry. Files that log under another name define it before they include.
#ifndef MERO_SOURCE_NAME
#define MERO_SOURCE_NAME __BASE_FILE__
#endif

namespace {
[[maybe_unused]] constexpr MERO::Systemd::SourceName kSourceName(MERO_SOURCE_NAME);
}

#define MERO_HERE (::MERO::Systemd::SourceLine{kSourceName.text, __LINE__})
#define MERO_LOG(priority, ...) ::MERO::Systemd::Log((priority), MERO_HERE, __VA_ARGS__)
