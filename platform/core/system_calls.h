#pragma once

#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <string_view>

/// System calls, made to their end. This header is also the library's and the sandbox's; it is not installed.
namespace MERO {

/// While it lives, this thread is not cancelled (pthread_cancel): what has to be taken back is taken back to the end,
/// and no destructor is left halfway, which would end the process.
class CancelBlock {
public:
    CancelBlock() : CancelBlock(PTHREAD_CANCEL_DISABLE) {}
    CancelBlock(const CancelBlock&) = delete;
    CancelBlock& operator=(const CancelBlock&) = delete;
    ~CancelBlock() { pthread_setcancelstate(before_, nullptr); }

    /// What `function` returns. In it the thread can be cancelled if it could be before.
    template <typename Function>
    auto LiftFor(Function&& function) const
    {
        const CancelBlock lifted(before_);
        return function();
    }

private:
    explicit CancelBlock(int state) { pthread_setcancelstate(state, &before_); }

    int before_;
};

/// What `call` returns when no signal breaks it off. (A process that was stopped sees EINTR without a handler.)
template <typename Call>
auto Uninterrupted(Call&& call)
{
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

/// Writes the whole text. False, with errno, when that fails.
inline bool WriteAll(int file, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = Uninterrupted([&] { return write(file, text.data(), text.size()); });
        if (count < 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

/// Fills a file that was just made: it gets the owner and the mode of `like`, a name in `folder`, if that is a regular
/// file, and the text, which is on the disk when this returns true. `flags`: fstatat's. False, with errno.
inline bool FillNewFile(int file, int folder, const char* like, int flags, std::string_view text)
{
    struct stat old;
    const bool hasOld = fstatat(folder, like, &old, flags) == 0 && S_ISREG(old.st_mode);
    // The owner comes first: changing it takes set-user-ID bits away.
    return (!hasOld || (fchown(file, old.st_uid, old.st_gid) == 0 && fchmod(file, old.st_mode & 07777) == 0)) &&
           WriteAll(file, text) && fsync(file) == 0;
}

} // namespace MERO
