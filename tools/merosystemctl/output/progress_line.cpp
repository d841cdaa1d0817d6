#include "output/progress_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <string_view>

using namespace std::chrono_literals;

namespace MERO::Tool {
namespace {

constexpr auto kPlainInterval = 10s;
constexpr std::size_t kDefaultWidth = 80;

bool CanUpdateLines()
{
    const char* terminal = std::getenv("TERM");
    return isatty(STDERR_FILENO) == 1 && terminal != nullptr && std::string_view(terminal) != "dumb";
}

std::size_t TerminalWidth()
{
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kDefaultWidth;
}

} // namespace

ProgressLine::ProgressLine() : updates_(CanUpdateLines()) {}

void ProgressLine::Show(const std::string& matter, const std::string& details)
{
    if (updates_) {
        // One less than the width: a full line would wrap on some terminals, and could not be cleared.
        std::cerr << "\r\033[K" << details.substr(0, TerminalWidth() - 1) << std::flush;
        isShown_ = true;
        return;
    }
    const Clock::time_point now = Clock::now();
    if (matter != lastMatter_ || now - lastTime_ >= kPlainInterval) {
        std::cerr << details << '\n';
        lastMatter_ = matter;
        lastTime_ = now;
    }
}

void ProgressLine::Clear()
{
    if (isShown_) {
        std::cerr << "\r\033[K" << std::flush;
        isShown_ = false;
    }
}

} // namespace MERO::Tool
