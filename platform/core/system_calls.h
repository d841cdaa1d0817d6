#pragma once

#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <string_view>

/// System calls that run to completion. The library and the sandbox use this header too; it is not installed.
namespace MERO {

/// While it lives, this thread cannot be cancelled (pthread_cancel): cleanup runs to its end. A cancellation inside a
/// destructor would end the process.
class CancelBlock {
public:
    CancelBlock() : CancelBlock(PTHREAD_CANCEL_DISABLE) {}
    CancelBlock(const CancelBlock&) = delete;
    CancelBlock& operator=(const CancelBlock&) = delete;
    ~CancelBlock() { pthread_setcancelstate(before_, nullptr); }

    /// Returns what `function` returns. While that runs, the thread can be cancelled if it could be before.
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

/// Repeats `call` while a signal interrupts it, and returns its result. (Stopping and continuing a process can cause
/// EINTR even without a handler.)
template <typename Call>
auto Uninterrupted(Call&& call)
{
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

/// Writes the whole text. Returns false, with errno, on failure.
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

/// Fills a new file: gives it the owner and mode of `like`, a name in `folder`, if that is a regular file, and writes
/// the text through to the disk. `flags` are those of fstatat. Returns false, with errno, on failure.
inline bool FillNewFile(int file, int folder, const char* like, int flags, std::string_view text)
{
    struct stat old;
    const bool hasOld = fstatat(folder, like, &old, flags) == 0 && S_ISREG(old.st_mode);
    // The owner first: changing it clears set-user-ID bits.
    return (!hasOld || (fchown(file, old.st_uid, old.st_gid) == 0 && fchmod(file, old.st_mode & 07777) == 0)) &&
           WriteAll(file, text) && fsync(file) == 0;
}

} // namespace MERO
