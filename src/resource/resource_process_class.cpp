#include "core/log.h"
#include "core/text_reader.h"
#include "platform/core/owners.h"
#include "resource/proc_texts.h"

#include <merosystemd/resource.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <climits>
#include <cstdlib>
#include <exception>
#include <memory>

namespace MERO::Systemd {
namespace {

using Text = std::string_view;

/// A process of this program is named after the script that it runs.
constexpr Text kInterpreter = "meroscgi";

Text BaseName(Text path)
{
    return path.substr(path.rfind('/') + 1); // npos + 1 is 0
}

/// Gets the name of the file that a path leads to. If the path is no symbolic link itself, as is usual for executables,
/// that is its last component, and its folders need not be resolved.
bool ResolveName(const char* path, std::string& name)
{
    char other[PATH_MAX];
    if (readlink(path, other, 1) < 0) {
        name = BaseName(path);
        return errno == EINVAL; // it exists and is no symbolic link
    }
    if (realpath(path, other) == nullptr) {
        return false;
    }
    name = BaseName(other);
    return true;
}

/// Returns what `take` returns for the file's first line, empty for an empty file; false if the file cannot be read.
template <typename Take>
bool WithFirstLine(TextReader& reader, int directory, const char* path, Take&& take)
{
    Text line;
    return reader.ReadLines(directory, path, [&](Text lines) {
        line = lines.substr(0, lines.find('\n'));
        return false;
    }) && take(line);
}

/// A process' folder: all that is read through one object belongs to one process, even if its ID is reused.
class Folder {
public:
    Folder(int pid, TextReader& reader)
        : folder_(open(("/proc/" + std::to_string(pid)).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)), reader_(reader)
    {
    }

    bool ReadName(std::string& name)
    {
        char link[PATH_MAX];
        const ssize_t length = readlinkat(folder_.Get(), "exe", link, sizeof link - 1);
        if (length < 0) {
            return false;
        }
        link[length] = '\0';
        if (!ResolveName(link, name)) {
            return false;
        }
        if (name != kInterpreter) {
            return true;
        }
        return WithFirstLine(reader_, folder_.Get(), "cmdline", [&](Text line) {
            name = ScriptName(line);
            return true;
        });
    }

    bool ReadTicks(std::uint64_t& user, std::uint64_t& system)
    {
        return WithFirstLine(reader_, folder_.Get(), "stat",
                             [&](Text line) { return ProcessTicks(line, user, system); });
    }

    bool ReadPss(std::uint64_t& pss)
    {
        std::uint64_t sum = 0;
        const bool done = reader_.ReadLines(folder_.Get(), "smaps", [&](Text lines) {
            sum += SumOfPss(lines);
            return true;
        });
        pss = done ? sum : pss;
        return done;
    }

    bool ReadIo(std::uint64_t& readBytes, std::uint64_t& writeBytes)
    {
        const auto text = reader_.Read(folder_.Get(), "io");
        return text && IoBytes(*text, readBytes, writeBytes);
    }

private:
    Descriptor folder_;
    TextReader& reader_;
};

bool ReadTotalTicks(TextReader& reader, std::uint64_t& total)
{
    return WithFirstLine(reader, AT_FDCWD, "/proc/stat", [&](Text line) { return ProcessorTicks(line, total); });
}

/// How much a counter has grown; 0 if it went backwards.
double Growth(std::uint64_t now, std::uint64_t before)
{
    return now > before ? static_cast<double>(now - before) : 0.0;
}

} // namespace

Process::Process(int pid) : Process(pid, *std::make_unique<TextReader>()) {}

Process::Process(int pid, TextReader& reader) : pid_(pid), time_(std::chrono::steady_clock::now())
{
    Folder folder(pid, reader);
    if (!folder.ReadName(name_) || !folder.ReadTicks(userTicks_, systemTicks_) || !folder.ReadPss(pss_) ||
        !folder.ReadIo(readBytes_, writeBytes_) || !ReadTotalTicks(reader, totalTicks_)) {
        throw std::exception();
    }
}

double Process::CPUTimeGet() const
{
    return static_cast<double>(userTicks_ + systemTicks_) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double Process::CPUUtilizationGet() const
{
    std::uint64_t user = 0;
    std::uint64_t system = 0;
    std::uint64_t total = 0;
    if (!CPUTickGet(pid_, user, system) || !TotalTickGet(total)) {
        return 0.0;
    }
    if (totalTicks_ >= total) {
        MERO_LOG(LOG_ERR, "Unexpected delta value, totalTick = %" PRIu64 ", _totalTick =  %" PRIu64, total,
                 totalTicks_);
        return 0.0;
    }
    return std::min(Growth(user + system, userTicks_ + systemTicks_) / static_cast<double>(total - totalTicks_), 1.0);
}

std::pair<double, double> Process::IOUtilizationGet() const
{
    const auto now = std::chrono::steady_clock::now();
    std::uint64_t readBytes = 0;
    std::uint64_t writeBytes = 0;
    if (!IOGet(pid_, readBytes, writeBytes)) {
        return {0.0, 0.0};
    }
    const double seconds = std::chrono::duration<double>(now - time_).count();
    return {Growth(readBytes, readBytes_) / seconds, Growth(writeBytes, writeBytes_) / seconds};
}

bool Process::NameGet(int pid, std::string& name)
{
    TextReader reader;
    return Folder(pid, reader).ReadName(name);
}

bool Process::CPUTickGet(int pid, std::uint64_t& userTicks, std::uint64_t& systemTicks)
{
    TextReader reader;
    return Folder(pid, reader).ReadTicks(userTicks, systemTicks);
}

bool Process::PssGet(int pid, std::uint64_t& pss)
{
    TextReader reader;
    return Folder(pid, reader).ReadPss(pss);
}

bool Process::IOGet(int pid, std::uint64_t& readBytes, std::uint64_t& writeBytes)
{
    TextReader reader;
    return Folder(pid, reader).ReadIo(readBytes, writeBytes);
}

bool Process::TotalTickGet(std::uint64_t& totalTicks)
{
    TextReader reader;
    return ReadTotalTicks(reader, totalTicks);
}

} // namespace MERO::Systemd
