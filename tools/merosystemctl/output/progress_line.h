#pragma once

#include <chrono>
#include <string>

namespace MERO::Tool {

/// What a long operation waits for, on standard error: one line that updates on a terminal; otherwise a plain line
/// when the matter changes, and one every ten seconds.
class ProgressLine {
public:
    ProgressLine();
    ~ProgressLine() { Clear(); }

    /// `matter`: what is waited for; it is not printed. `title` and `figures` are: on a narrow terminal the title is
    /// shortened first.
    void Show(const std::string& matter, const std::string& title, const std::string& figures = "");

    /// Takes the line off the terminal.
    void Clear();

private:
    using Clock = std::chrono::steady_clock;

    const bool updates_;
    bool isShown_ = false;
    std::string lastMatter_;
    Clock::time_point lastTime_;
};

} // namespace MERO::Tool
