#include "top/end_signals.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace MERO::Tool {
namespace {

constexpr int kSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};

bool IsIgnored(int number)
{
    struct sigaction action {};
    return sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

EndSignals::EndSignals()
{
    sigemptyset(&held_);
    for (const int number : kSignals) {
        if (!IsIgnored(number)) {
            sigaddset(&held_, number);
        }
    }
    descriptor_ = signalfd(-1, &held_, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot wait for signals");
    }
    // Unblocked only while waiting: a resize that came just before the wait would not wake it.
    sigset_t resized;
    sigemptyset(&resized);
    sigaddset(&resized, SIGWINCH);
    sigprocmask(SIG_BLOCK, &resized, &before_);
    sigorset(&waiting_, &before_, &held_);
    sigprocmask(SIG_BLOCK, &held_, nullptr);
}

EndSignals::~EndSignals()
{
    close(descriptor_);
    for (const int number : kSignals) {
        if (sigismember(&held_, number) == 1) {
            std::signal(number, SIG_DFL); // ncurses leaves its handlers installed
        }
    }
    sigprocmask(SIG_SETMASK, &before_, nullptr);
}

EndSignals::Wake EndSignals::WaitUntil(std::chrono::steady_clock::time_point time, int input) const
{
    using namespace std::chrono;
    const nanoseconds left = std::max<nanoseconds>(time - steady_clock::now(), 0ns);
    const seconds whole = duration_cast<seconds>(left);
    const timespec timeout{.tv_sec = static_cast<std::time_t>(whole.count()),
                           .tv_nsec = static_cast<long>((left - whole).count())};
    pollfd awaited[] = {{descriptor_, POLLIN, 0}, {input, POLLIN, 0}};
    const int ready = ppoll(awaited, std::size(awaited), &timeout, &waiting_);
    if (ready < 0) {
        return Wake::Interrupted;
    }
    if (ready == 0) {
        return Wake::Time;
    }
    return awaited[0].revents != 0 ? Wake::Signal : Wake::Input;
}

} // namespace MERO::Tool
