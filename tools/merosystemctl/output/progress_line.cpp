#include "output/progress_line.h"

#include "output/terminal.h"
#include "output/text_width.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string_view>

using namespace std::chrono_literals;

namespace MERO::Tool {
namespace {

constexpr auto kPlainInterval = 10s;
constexpr std::size_t kShortestTitle = 8;

bool CanUpdateLines()
{
    const char* terminal = std::getenv("TERM");
    return isatty(STDERR_FILENO) == 1 && terminal != nullptr && std::string_view(terminal) != "dumb";
}

} // namespace

ProgressLine::ProgressLine() : updates_(CanUpdateLines()) {}

void ProgressLine::Show(const std::string& matter, const std::string& title, const std::string& figures)
{
    if (updates_) {
        // One column less than the width: on some terminals a full line wraps and could not be cleared.
        const std::size_t width = TerminalWidth(STDERR_FILENO) - 1;
        const std::size_t room = std::max(width - std::min(width, figures.size()), kShortestTitle);
        std::cerr << "\r\033[K" << (Shorten(title, room) + figures).substr(0, width) << std::flush;
        isShown_ = true;
        return;
    }
    const Clock::time_point now = Clock::now();
    if (matter != lastMatter_ || now - lastTime_ >= kPlainInterval) {
        std::cerr << title << figures << '\n';
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
