#pragma once

#include <chrono>
#include <string>

namespace MERO::Tool {

/// Shows on standard error what a long operation waits for: on a terminal one line that updates, elsewhere a plain line
/// when the matter changes, and one every ten seconds.
class ProgressLine {
public:
    ProgressLine();
    ~ProgressLine() { Clear(); }

    /// `matter` identifies what is waited for, and is not printed. `title` and `figures` are printed; on a narrow
    /// terminal the title is shortened first.
    void Show(const std::string& matter, const std::string& title, const std::string& figures = "");

    void Clear();

private:
    using Clock = std::chrono::steady_clock;

    const bool updates_;
    bool isShown_ = false;
    std::string lastMatter_;
    Clock::time_point lastTime_;
};

} // namespace MERO::Tool
