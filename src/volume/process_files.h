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
    int descriptor; ///< of the open folder, so that a process ID that is used again mixes no two processes
};

/// Takes the lines of a memory map (/proc/<pid>/maps) up to the first one that names a file off the text, and returns
/// the file's path, blanks and all. What does not begin with "/" ([heap], say) is no file.
std::optional<std::string_view> TakeMapPath(std::string_view& text);

/// The path that is read where a blank ends it.
std::string_view UpToBlank(std::string_view path);

/// Walks through the processes of the machine and the files that they use. What vanishes or cannot be read is passed
/// over: processes come and go.
class ProcessFiles {
public:
    ProcessFiles();

    /// False when /proc cannot be opened: there are no processes to see then.
    explicit operator bool() const { return static_cast<bool>(proc_); }

    /// Hands every process to `take`.
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

    /// The text of one of a process' links; empty when it cannot be read. Good until the next call.
    std::string_view Link(int folder, const char* name);

    /// Hands the text of the link of each open file to `take`, until it returns false.
    template <typename Take>
    void ForEachDescriptor(const ProcessFolder& process, Take&& take)
    {
        const Descriptor folder = OpenFolder(process.descriptor, "fd");
        if (folder) {
            linkNames_.ForEach(folder.Get(),
                               [&](std::string_view name) { return take(Link(folder.Get(), name.data())); });
        }
    }

    /// Hands the path of each piece of the process' memory that maps a file to `take`, until it returns false. Pieces
    /// of one file mostly follow each other.
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

    /// The kernel's name of the process.
    std::string Command(const ProcessFolder& process);

    /// The process' path in systemd's hierarchy of cgroups; empty when that cannot be told.
    std::string Cgroup(const ProcessFolder& process);

    /// Whether the process has ended or is about to: its cgroup is "/" by then, whichever it was.
    bool IsEnding(const ProcessFolder& process);

private:
    static Descriptor OpenFolder(int parent, const char* name);

    Descriptor proc_;
    DirectoryNames processNames_;
    DirectoryNames linkNames_;
    TextReader reader_;
    const char* systemdControllers_; ///< as in the lines of a process' cgroups
    char link_[PATH_MAX];
};

} // namespace MERO::Systemd
