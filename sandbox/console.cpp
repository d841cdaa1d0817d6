#include "sandbox/console.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/ioctl.h>

namespace MERO::Sandbox {

namespace {

constexpr std::size_t kMaxKept = 65536;
constexpr int kTailLines = 20;

/// The text as a terminal shows it: systemd moves one line up (ESC M) to overwrite the jobs that it was waiting for.
std::string Shown(const std::string& text)
{
    std::string shown;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (text.compare(at, 2, "\x1bM") == 0) {
            ++at;
            shown.erase(shown.find_last_of('\n', shown.find_last_not_of('\n')) + 1);
        } else if (text.compare(at, 2, "\x1b[") == 0) {
            at = std::min(text.find_first_not_of("0123456789;", at + 2), text.size());
        } else if (c == '\n' || (static_cast<unsigned char>(c) >= ' ' && c != '\x7f')) {
            shown += c;
        }
    }
    return shown;
}

} // namespace

Console::Console(Descriptor terminalMaster) : master(std::move(terminalMaster))
{
    HoldOpen();
}

/// A terminal that is hung up, or that nobody has open, reports a hang-up to its master for ever.
void Console::HoldOpen()
{
    terminal = Descriptor(ioctl(master.Get(), TIOCGPTPEER, O_RDWR | O_NOCTTY | O_CLOEXEC));
}

void Console::Collect()
{
    char buffer[4096];
    ssize_t cbRead = 0;
    while ((cbRead = read(master.Get(), buffer, sizeof buffer)) > 0)
        text.append(buffer, static_cast<std::size_t>(cbRead));
    if (cbRead < 0 && errno == EIO)
        HoldOpen();
    if (text.size() > kMaxKept)
        text.erase(0, text.size() - kMaxKept / 2);
}

std::string Console::Tail() const
{
    std::string cleaned = Shown(text);
    const std::size_t end = cleaned.find_last_not_of(" \n");
    if (end == std::string::npos)
        return {};
    cleaned.resize(end + 1);

    std::size_t begin = cleaned.size();
    for (int line = 0; line < kTailLines && begin != 0 && begin != std::string::npos; ++line)
        begin = cleaned.rfind('\n', begin - 1);
    std::string tail;
    for (const char c : begin == std::string::npos ? "\n" + cleaned : cleaned.substr(begin))
        tail += c == '\n' ? "\n  " : std::string(1, c);
    return tail;
}

} // namespace MERO::Sandbox
