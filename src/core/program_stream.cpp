#include "core/program_stream.h"

#include "core/text_reader.h"

#include <unistd.h>

#include <algorithm>
#include <string_view>

namespace MERO::Systemd {
namespace {

// From systemctl(1), systemd's ENVIRONMENT.md and ps(1): variables that change the form of the output. Those that
// choose the manager or change what is done are not listed: the host process may set them.
constexpr std::string_view kLeftOut[] = {
    // colours, links, symbols, the terminal's title
    "SYSTEMD_COLORS", "SYSTEMD_URLIFY", "SYSTEMD_EMOJI", "SYSTEMD_UTF8", "SYSTEMD_TINT_BACKGROUND",
    "SYSTEMD_ADJUST_TERMINAL_TITLE", "NO_COLOR",
    // messages between the lines
    "SYSTEMD_LOG_LEVEL", "SYSTEMD_LOG_COLOR", "SYSTEMD_LOG_TIME", "SYSTEMD_LOG_LOCATION", "SYSTEMD_LOG_TID",
    "SYSTEMD_LOG_TARGET", "SYSTEMD_LOG_RATELIMIT_KMSG", "DEBUG_INVOCATION",
    // pagers
    "SYSTEMD_PAGER", "SYSTEMD_PAGERSECURE", "SYSTEMD_LESS", "SYSTEMD_LESSCHARSET", "PAGER", "LESS",
    // ends the options at the first operand
    "POSIXLY_CORRECT",
    // width and form
    "COLUMNS", "LINES", "PS_FORMAT", "PS_PERSONALITY", "CMD_ENV", "I_WANT_A_BROKEN_PS"};

bool IsLeftOut(std::string_view variable)
{
    const std::string_view name = variable.substr(0, variable.find('='));
    return std::find(std::begin(kLeftOut), std::end(kLeftOut), name) != std::end(kLeftOut);
}

/// The host process' environment without these. NULL-terminated; the texts are not copied.
std::vector<char*> ProgramEnvironment()
{
    std::vector<char*> environment;
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        if (!IsLeftOut(*variable)) {
            environment.push_back(*variable);
        }
    }
    environment.push_back(nullptr);
    return environment;
}

} // namespace

ProgramStream::ProgramStream(const char* path, const char* mode, char* const argv[])
    : stream_(MLIBCPopenvce(path, mode, argv, ProgramEnvironment().data()))
{
}

bool ProgramStream::ReadLines(std::vector<std::string>& lines)
{
    return TextReader().ReadLines(stream_, [&](std::string_view text) {
        while (!text.empty()) {
            const std::size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
            lines.emplace_back(text.substr(0, size));
            text.remove_prefix(size);
        }
        return true;
    });
}

} // namespace MERO::Systemd
