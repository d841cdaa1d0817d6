#include "output/output.h"
#include "output/terminal.h"
#include "top/top_display.h"
#include "top/top_page.h"

#define NCURSES_NOMACROS // macros such as "clear" and "move"
#include <curses.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <string_view>
#include <utility>

namespace MERO::Tool {
namespace {

using Wake = EndSignals::Wake;

constexpr int kControlD = 4;

/// Controls the terminal while it exists.
class Terminal {
public:
    Terminal() : screen_(newterm(nullptr, stdout, stdin))
    {
        if (screen_ == nullptr) {
            return;
        }
        cbreak();
        noecho();
        curs_set(0);
        keypad(stdscr, true);
        nodelay(stdscr, true);
        const char* noColor = std::getenv("NO_COLOR");
        hasColors_ = has_colors() && (noColor == nullptr || *noColor == '\0');
        if (hasColors_) {
            start_color();
            use_default_colors();
            init_pair(kCpuPair, COLOR_GREEN, -1);
            init_pair(kMemoryPair, COLOR_CYAN, -1);
        }
    }

    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    ~Terminal()
    {
        if (screen_ != nullptr) {
            endwin();
            delscreen(screen_);
        }
    }

    bool IsOpen() const { return screen_ != nullptr; }

    /// Restores the terminal while `work` runs.
    template <typename Work>
    void Leave(Work&& work) const
    {
        endwin();
        work();
        flushinp(); // keys typed meanwhile were not meant for the screen
        refresh();
    }

    static PageSize Size() { return {static_cast<std::size_t>(COLS), static_cast<std::size_t>(LINES)}; }

    void Draw(const std::vector<Line>& page) const
    {
        erase();
        for (std::size_t row = 0; row < page.size(); ++row) {
            move(static_cast<int>(row), 0);
            for (const Span& span : page[row]) {
                attrset(AttributesOf(span.style));
                addstr(span.text.c_str());
            }
        }
        attrset(A_NORMAL);
        refresh();
    }

private:
    static constexpr short kCpuPair = 1;
    static constexpr short kMemoryPair = 2;

    int AttributesOf(Style style) const
    {
        switch (style) {
        case Style::Strong:
            return A_BOLD;
        case Style::Chosen:
            return A_REVERSE;
        case Style::Cpu:
            return hasColors_ ? COLOR_PAIR(kCpuPair) : A_NORMAL;
        case Style::Memory:
            return hasColors_ ? COLOR_PAIR(kMemoryPair) : A_NORMAL;
        default:
            return A_NORMAL;
        }
    }

    SCREEN* screen_;
    bool hasColors_ = false;
};

class TopScreen : public TopDisplay {
public:
    TopScreen(const EndSignals& signals, const TopOptions& options)
        : signals_(signals), options_(options), glyphs_(HasUtf8() ? kBlockGlyphs : kAsciiGlyphs)
    {
        view_.order = options.order;
    }

    bool IsOpen() const { return terminal_.IsOpen(); }

    void Show(std::vector<SliceUsage> slices) override
    {
        slices_ = std::move(slices);
        SetOrder(view_.order);
        Draw();
    }

    bool WaitUntil(Clock::time_point time) override
    {
        for (;;) {
            const Wake wake = signals_.WaitUntil(time, STDIN_FILENO);
            if (wake == Wake::Time || wake == Wake::Signal) {
                return wake == Wake::Time;
            }
            int key = getch();
            if (key == ERR && wake == Wake::Input) {
                return false; // the end of input
            }
            for (; key != ERR; key = getch()) {
                if (!Obey(key)) {
                    return false;
                }
            }
            Draw();
        }
    }

private:
    void Draw() const { terminal_.Draw(ComposePage(slices_, view_, Terminal::Size(), glyphs_)); }

    /// Returns false for a key that ends the program. Unknown keys and a resize only redraw the screen.
    bool Obey(int key)
    {
        if (!asked_.empty()) {
            Answer(key);
            return true;
        }
        view_.message.clear();
        switch (key) {
        case 'q':
        case kControlD:
            return false;
        case KEY_UP:
        case 'k':
            Choose(-1);
            break;
        case KEY_DOWN:
        case 'j':
            Choose(+1);
            break;
        case KEY_PPAGE:
            ScrollProcesses(view_, slices_, Terminal::Size(), -1);
            break;
        case KEY_NPAGE:
            ScrollProcesses(view_, slices_, Terminal::Size(), +1);
            break;
        case 'c':
            SetOrder(Order::Cpu);
            break;
        case 'm':
            SetOrder(Order::Memory);
            break;
        case 'i':
            SetOrder(Order::Input);
            break;
        case 'o':
            SetOrder(Order::Output);
            break;
        case 'p':
            SetOrder(Order::Pid);
            break;
        case 'n':
            SetOrder(Order::Name);
            break;
        case 'x':
            AskToKill();
            break;
        case 'h':
            view_.hasHelp = !view_.hasHelp;
            break;
        default:
            break;
        }
        return true;
    }

    /// Chooses the slice so many lines below the chosen one, if there is one.
    void Choose(int below)
    {
        const std::size_t wanted = ChosenSlice(slices_, view_) + static_cast<std::size_t>(below);
        if (wanted < slices_.size()) {
            view_.unit = slices_[wanted].unit;
            view_.firstProcess = 0;
        }
    }

    void SetOrder(Order order)
    {
        view_.order = order;
        Sort(slices_, order);
    }

    void AskToKill()
    {
        if (!slices_.empty()) {
            const SliceUsage& slice = slices_[ChosenSlice(slices_, view_)];
            asked_ = slice.unit;
            view_.message = "Stop the units of " + asked_ +
                            " and kill what is left (processes: " + std::to_string(slice.processes.size()) + ")? [y/N]";
        }
    }

    void Answer(int key)
    {
        if (key == KEY_RESIZE) {
            return;
        }
        const std::string slice = std::exchange(asked_, "");
        view_.message.clear();
        if (key == 'y' || key == 'Y') {
            terminal_.Leave([&] { Kill(slice); });
        }
    }

    void Kill(const std::string& slice) const
    {
        if (options_.kill(slice) != kDone) {
            std::cerr << "press Enter to go on" << std::flush; // otherwise nobody could read why
            (void)signals_.WaitUntil(Clock::time_point::max(), STDIN_FILENO);
        }
        std::cout << std::flush;
    }

    const EndSignals& signals_;
    const TopOptions& options_;
    const Terminal terminal_;
    const Glyphs& glyphs_;
    TopView view_;
    std::string asked_;              ///< the slice to kill, while the question is open
    std::vector<SliceUsage> slices_; ///< in the view's order
};

bool CanHaveScreen()
{
    const char* terminal = std::getenv("TERM");
    return isatty(STDOUT_FILENO) == 1 && terminal != nullptr && *terminal != '\0' &&
           std::string_view(terminal) != "dumb";
}

} // namespace

std::unique_ptr<TopDisplay> MakeTopScreen(const EndSignals& signals, const TopOptions& options)
{
    if (!CanHaveScreen()) {
        return nullptr;
    }
    auto screen = std::make_unique<TopScreen>(signals, options);
    if (!screen->IsOpen()) {
        return nullptr;
    }
    return screen;
}

} // namespace MERO::Tool
