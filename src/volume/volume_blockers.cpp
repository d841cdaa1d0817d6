#include "volume/volume_blockers.h"

#include "core/names.h"
#include "core/text.h"
#include "resource/proc_texts.h"
#include "volume/mount_path.h"
#include "volume/process_files.h"

#include <fcntl.h>

#include <algorithm>
#include <optional>
#include <set>

namespace MERO::Systemd {
namespace {

bool IsOnAny(std::string_view path, const Texts& volumes)
{
    return std::any_of(volumes.begin(), volumes.end(),
                       [&](const std::string& volume) { return IsAtOrBelow(path, volume); });
}

/// The units that stop, or whose masters do.
std::set<std::string> StoppingUnits(const VolumeStops& stops)
{
    std::set<std::string> units;
    for (const auto& [unit, causes] : stops) {
        units.insert(unit);
        for (const StopCause& cause : causes) {
            units.insert(cause.unit);
        }
    }
    return units;
}

/// The units that a process belongs to by its path of cgroups, the outermost first. What a user's own manager runs is
/// not among them: its units may have the names of the system's.
Texts UnitsOf(const std::string& cgroup)
{
    Texts folders;
    Texts units;
    (void)Split(cgroup, folders, "/");
    for (const std::string& folder : folders) {
        if (HasKnownUnitType(folder)) {
            units.push_back(UnitOfFolder(folder));
        }
        if (folder.starts_with("user@")) {
            break;
        }
    }
    return units;
}

/// The first of a process' files on the volumes, found by what the kernel calls them: deleted files have names too, as
/// have those with blanks, and files that only the process itself can reach.
class FileFinder {
public:
    FileFinder(ProcessFiles& files, const ProcessFolder& process, const Texts& volumes)
        : files_(files), process_(process), volumes_(volumes)
    {
    }

    std::optional<VolumeUser> Find()
    {
        if (!FindLink(FileUse::WorkingDirectory, "cwd") && !FindLink(FileUse::Executable, "exe") &&
            !FindLink(FileUse::Root, "root")) {
            files_.ForEachDescriptor(process_, [&](std::string_view link) { return !Take(FileUse::Descriptor, link); });
        }
        if (!found_) {
            files_.ForEachMap(process_, [&](std::string_view path) { return !Take(FileUse::Map, path); });
        }
        if (found_) {
            found_->pid = process_.pid;
            found_->command = files_.Command(process_);
        }
        return found_;
    }

private:
    bool FindLink(FileUse use, const char* name) { return Take(use, files_.Link(process_.descriptor, name)); }

    bool Take(FileUse use, std::string_view path)
    {
        if (IsOnAny(path, volumes_)) {
            found_ = VolumeUser{.pid = 0, .command = {}, .use = use, .file = std::string(path)};
        }
        return found_.has_value();
    }

    ProcessFiles& files_;
    const ProcessFolder& process_;
    const Texts& volumes_;
    std::optional<VolumeUser> found_;
};

void AddProcesses(const Texts& volumes, const std::set<std::string>& stopping, std::vector<VolumeBlocker>& blockers)
{
    ProcessFiles files;
    if (!files) {
        return; // the search for the services' processes has said so
    }
    files.ForEachProcess([&](const ProcessFolder& process) {
        const auto user = FileFinder(files, process, volumes).Find();
        if (!user) {
            return;
        }
        const Texts units = UnitsOf(files.Cgroup(process));
        if (units.empty() && files.IsEnding(process)) {
            return; // of some service, perhaps: that cannot be told any more
        }
        if (std::none_of(units.begin(), units.end(),
                         [&](const std::string& unit) { return stopping.contains(unit); })) {
            blockers.push_back({.kind = VolumeBlocker::Kind::Process,
                                .unit = units.empty() ? std::string() : units.back(),
                                .user = *user});
        }
    });
}

void AddPath(VolumeBlocker::Kind kind, const std::string& path, std::vector<VolumeBlocker>& blockers)
{
    VolumeBlocker blocker{.kind = kind, .unit = {}, .user = {}};
    blocker.user.file = path;
    blockers.push_back(blocker);
}

/// Paths in a table of the kernel's. The volumes themselves count when they are `included`.
void AddTable(VolumeBlocker::Kind kind, const char* table, std::size_t column, bool included, const Texts& volumes,
              std::vector<VolumeBlocker>& blockers)
{
    TextReader reader;
    for (const std::string& path : PathsInColumn(reader.Read(AT_FDCWD, table).value_or(""), column)) {
        const bool isVolume = std::find(volumes.begin(), volumes.end(), path) != volumes.end();
        if (IsOnAny(path, volumes) && (included || !isVolume)) {
            AddPath(kind, path, blockers);
        }
    }
}

void AddLoopDevices(const Texts& volumes, std::vector<VolumeBlocker>& blockers)
{
    const Descriptor devices(open("/sys/block", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!devices) {
        return;
    }
    DirectoryNames names;
    TextReader reader;
    names.ForEach(devices.Get(), [&](std::string_view name) {
        const std::string path = std::string(name) + "/loop/backing_file"; // only loop devices that are set up have it
        const std::string_view text = reader.Read(devices.Get(), path.c_str()).value_or(std::string_view());
        const std::string_view file = text.substr(0, text.find('\n'));
        if (IsOnAny(file, volumes)) {
            AddPath(VolumeBlocker::Kind::LoopDevice, std::string(file), blockers);
        }
        return true;
    });
}

} // namespace

std::vector<VolumeBlocker> FindVolumeBlockers(const Texts& volumes, const VolumeStops& stops)
{
    using Kind = VolumeBlocker::Kind;
    std::vector<VolumeBlocker> blockers;
    AddProcesses(volumes, StoppingUnits(stops), blockers);
    AddTable(Kind::Mount, "/proc/self/mountinfo", 4, false, volumes, blockers);
    AddLoopDevices(volumes, blockers);
    AddTable(Kind::SwapFile, "/proc/swaps", 0, true, volumes, blockers);
    AddTable(Kind::KernelExport, "/proc/fs/nfs/exports", 0, true, volumes, blockers);
    return blockers;
}

} // namespace MERO::Systemd
