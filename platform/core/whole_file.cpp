#include "whole_file.h"

#include "fail.h"
#include "owners.h"
#include "system_calls.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>

namespace MERO::Core {
namespace {

constexpr off_t kLargestFile = off_t{16} << 20;

/// The file for the new text. The destructor removes it unless it has been renamed.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& target)
    {
        for (int attempt = 0; attempt < 100 && !file_; ++attempt) {
            std::uint64_t number = 0;
            // Without random bytes, or after a collision, O_EXCL makes us try the next number.
            [[maybe_unused]] const ssize_t count = getrandom(&number, sizeof number, GRND_NONBLOCK);
            char suffix[24];
            std::snprintf(suffix, sizeof suffix, ".%016" PRIx64, number + attempt);
            path_ = target + suffix;
            file_ = Descriptor(open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0644));
            if (!file_ && errno != EEXIST) {
                break;
            }
        }
    }
    ~TemporaryFile()
    {
        if (file_) {
            const int reason = errno;
            unlink(path_.c_str());
            errno = reason;
        }
    }

    bool IsOpen() const { return static_cast<bool>(file_); }
    int Get() const { return file_.Get(); }
    bool MoveTo(const std::string& target)
    {
        if (rename(path_.c_str(), target.c_str()) != 0) {
            return false;
        }
        file_.Close();
        return true;
    }

private:
    std::string path_;
    Descriptor file_;
};

/// Reads `size` bytes, or fewer if the file ends. Returns the count, or -1 with errno.
ssize_t ReadUpTo(int fd, char* buffer, std::size_t size)
{
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t count = Uninterrupted([&] { return read(fd, buffer + filled, size - filled); });
        if (count < 0) {
            return -1;
        }
        if (count == 0) {
            break;
        }
        filled += static_cast<std::size_t>(count);
    }
    return static_cast<ssize_t>(filled);
}

bool SyncFolderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    Descriptor directory(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return directory && fsync(directory.Get()) == 0;
}

} // namespace

int ReadWholeFile(const char* path, std::string& text, IfMissing ifMissing)
{
    Descriptor file(open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!file && errno == ENOENT && ifMissing == IfMissing::TakeAsEmpty) {
        text.clear();
        return 0;
    }
    if (!file) {
        return MERO_FAIL(MLIBC_ERR_OPEN_FILE);
    }
    char first[4096]; // nearly every file fits
    const ssize_t firstSize = ReadUpTo(file.Get(), first, sizeof first);
    if (firstSize < 0) {
        return MERO_FAIL(MLIBC_ERR_READ_FILE);
    }
    text.assign(first, static_cast<std::size_t>(firstSize));
    if (!text.empty() && text.size() < sizeof first) {
        return 0;
    }
    // Only an empty or a long text needs fstat: a pipe that nobody writes to reads as empty, and most devices never
    // end.
    struct stat status;
    if (fstat(file.Get(), &status) != 0) {
        return MERO_FAIL(MLIBC_ERR_READ_FILE);
    }
    if (!S_ISREG(status.st_mode) || status.st_size > kLargestFile) {
        errno = S_ISREG(status.st_mode) ? EFBIG : EINVAL;
        return MERO_FAIL(MLIBC_ERR_READ_FILE);
    }
    const std::size_t filled = text.size();
    text.resize(std::max(filled, static_cast<std::size_t>(status.st_size)));
    const ssize_t restSize = ReadUpTo(file.Get(), text.data() + filled, text.size() - filled);
    if (restSize < 0) {
        return MERO_FAIL(MLIBC_ERR_READ_FILE);
    }
    text.resize(filled + static_cast<std::size_t>(restSize)); // less if the file has shrunk since fstat
    return 0;
}

int WriteWholeFile(const std::string& path, std::string_view text)
{
    if (text.size() > static_cast<std::size_t>(kLargestFile)) { // ReadWholeFile would refuse it
        errno = EFBIG;
        return MERO_FAIL(MLIBC_ERR_WRITE_FILE);
    }
    TemporaryFile file(path);
    if (!file.IsOpen() || !FillNewFile(file.Get(), AT_FDCWD, path.c_str(), 0, text) || !file.MoveTo(path) ||
        !SyncFolderOf(path)) {
        return MERO_FAIL(MLIBC_ERR_WRITE_FILE);
    }
    return 0;
}

} // namespace MERO::Core
