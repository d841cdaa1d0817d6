#include "sandbox/console.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <algorithm>

using MERO::Descriptor;
using MERO::Sandbox::Console;

namespace {

int OpenMaster()
{
    const int master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    unlockpt(master);
    return master;
}

/// A console, and the terminal to write to.
struct Terminal {

    std::string Shows(std::string_view text)
    {
        while (!text.empty()) {
            const std::size_t some = std::min<std::size_t>(text.size(), 1000); // as much as the terminal has room for
            EXPECT_EQ(write(slave.Get(), text.data(), some), static_cast<ssize_t>(some));
            console.Collect();
            text.remove_prefix(some);
        }
        return console.Tail();
    }

    const int master = OpenMaster();
    Descriptor slave{ioctl(master, TIOCGPTPEER, O_RDWR | O_NOCTTY)};
    Console console{Descriptor(master)};
};

std::string Lines(const std::string& begin, int first, int last)
{
    std::string lines;
    for (int line = first; line <= last; ++line) {
        lines += begin + std::to_string(line);
    }
    return lines;
}

TEST(SandboxConsole, ShowsTheLastLinesAsATerminalWould)
{
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {" \n\n", ""},
        {"1", "\n  1"},
        {"\none\ntwo \n\n", "\n  one\n  two"},
        {"kept\nold\n\x1bMnew", "\n  kept\n  new"},
        {"kept\nold\n\n\x1bMnew", "\n  kept\n  new"},
        {"old\n\x1bMnew", "\n  new"},
        {"\x1bMnew", "\n  new"},
        {"\x1b[0;31mred\x1b[K \x7f\ttext\x1b[3", "\n  red text"},
        {"0" + Lines("\n", 1, 19), "\n  0" + Lines("\n  ", 1, 19)},
        {Lines("\n", 1, 20), Lines("\n  ", 1, 20)},
        {Lines("\n", 1, 21), Lines("\n  ", 2, 21)},
    };
    for (const auto& [written, shown] : cases) {
        EXPECT_EQ(Terminal().Shows(written), shown) << written;
    }
}

TEST(SandboxConsole, KeepsTheEndOfALongText)
{
    const std::string tail = Terminal().Shows(Lines(std::string(5000, 'x') + "\n", 1, 20));
    EXPECT_TRUE(tail.size() > 30'000 && tail.size() < 70'000 && tail.ends_with("x\n  20")) << tail.size();
}

TEST(SandboxConsole, IsQuietWhenNobodyHasItOpen)
{
    Terminal terminal;
    terminal.slave.Close();
    pollfd console{terminal.master, POLLIN, 0};
    EXPECT_EQ(poll(&console, 1, 0), 0);
}

} // namespace
