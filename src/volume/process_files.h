#pragma once

#include "core/directory_entries.h"
#include "core/text_reader.h"
#include "platform/core/owners.h"

#include <merosystemd/volume.hpp>

#include <charconv>
#include <climits>
#include <optional>
#include <string_view>

namespace MERO::Systemd {

/// A process as /proc shows it.
struct ProcessFolder {
    int pid;
    int descriptor; ///< the open folder: even if the ID is reused, all reads are of one process
};

/// Takes lines off a memory map (/proc/<pid>/maps), up to the first one that names a file, and returns the file's path,
/// blanks included. A name that does not begin with "/", such as [heap], is no file.
std::optional<std::string_view> TakeMapPath(std::string_view& text);

/// Returns the path up to its first blank.
std::string_view UpToBlank(std::string_view path);

/// Walks through the machine's processes and the files that they use. Skips what vanishes or cannot be read: processes
/// come and go.
class ProcessFiles {
public:
    ProcessFiles();

    /// False if /proc cannot be opened; then no process is found.
    explicit operator bool() const { return static_cast<bool>(proc_); }

    /// Calls `take` with each process.
    template <typename Take>
    void ForEachProcess(Take&& take)
    {
        processNames_.ForEach(proc_.Get(), [&](std::string_view name) {
            ProcessFolder process{};
            const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), process.pid);
            if (error == std::errc() && *end == '\0') {
                const Descriptor folder = OpenFolder(proc_.Get(), name.data());
                if (folder) {
                    process.descriptor = folder.Get();
                    take(process);
                }
            }
            return true;
        });
    }

    /// Returns the target of a link; empty if it cannot be read. Valid until the next call.
    std::string_view Link(int folder, const char* name);

    /// Calls `take` with the link target of each open file, until it returns false.
    template <typename Take>
    void ForEachDescriptor(const ProcessFolder& process, Take&& take)
    {
        const Descriptor folder = OpenFolder(process.descriptor, "fd");
        if (folder) {
            linkNames_.ForEach(folder.Get(),
                               [&](std::string_view name) { return take(Link(folder.Get(), name.data())); });
        }
    }

    /// Calls `take` with the path of each memory mapping of a file, until it returns false. Mappings of the same file
    /// mostly follow each other.
    template <typename Take>
    void ForEachMap(const ProcessFolder& process, Take&& take)
    {
        std::string_view text = reader_.Read(process.descriptor, "maps").value_or(std::string_view());
        while (const auto path = TakeMapPath(text)) {
            if (!take(*path)) {
                return;
            }
        }
    }

    /// The process' name in the kernel.
    std::string Command(const ProcessFolder& process);

    /// The process' path in systemd's cgroup hierarchy; empty if it cannot be read.
    std::string Cgroup(const ProcessFolder& process);

    /// Whether the process has ended or is about to. Its cgroup then reads "/", whatever it was before.
    bool IsEnding(const ProcessFolder& process);

private:
    static Descriptor OpenFolder(int parent, const char* name);

    Descriptor proc_;
    DirectoryNames processNames_;
    DirectoryNames linkNames_;
    TextReader reader_;
    const char* systemdControllers_; ///< as in /proc/<pid>/cgroup
    char link_[PATH_MAX];
};

} // namespace MERO::Systemd
