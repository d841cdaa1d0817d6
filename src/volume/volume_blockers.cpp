#include "volume/volume_blockers.h"

#include "core/names.h"
#include "core/text.h"
#include "resource/proc_texts.h"
#include "volume/mount_path.h"
#include "volume/mount_table.h"
#include "volume/process_files.h"

#include <fcntl.h>
#include <unistd.h>

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

/// Returns the units that stop, and those whose masters stop in their place.
std::set<std::string> StoppingUnits(const VolumeStopSet& set)
{
    std::set<std::string> units;
    for (const Dependent& dependent : set.dependents) {
        units.insert(dependent.unit);
    }
    for (const auto& [unit, causes] : set.stops) {
        units.insert(unit);
        for (const StopCause& cause : causes) {
            units.insert(cause.unit);
        }
    }
    return units;
}

/// Returns the units that a process belongs to by its cgroup path, the outermost first. Leaves out a user manager's
/// units: they may have the same names as the system's.
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

/// Finds the first of a process' files on the volumes, by the kernel's names. So it also finds deleted files, files
/// with blanks in their names, and files that only the process itself can reach.
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

/// Looks once at each mount namespace, for volumes that it keeps mounted.
class MountNamespaces {
public:
    explicit MountNamespaces(const Texts& volumes)
        : volumes_(volumes), own_(MountTableParse(reader_.Read(AT_FDCWD, "/proc/self/mountinfo").value_or("")))
    {
        char link[64];
        const ssize_t length = readlink("/proc/self/ns/mnt", link, sizeof link);
        known_.emplace(link, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    }

    const std::vector<MountEntry>& Own() const { return own_; }

    /// Returns where the process' namespace keeps a volume mounted. Empty also if the namespace is already known.
    std::string Keeps(ProcessFiles& files, const ProcessFolder& process)
    {
        const std::string_view name = files.Link(process.descriptor, "ns/mnt");
        if (name.empty() || !known_.emplace(name).second) {
            return {};
        }
        return FindKeptMount(own_, MountTableParse(reader_.Read(process.descriptor, "mountinfo").value_or("")),
                             volumes_);
    }

private:
    const Texts& volumes_;
    TextReader reader_;
    std::vector<MountEntry> own_;
    std::set<std::string> known_;
};

bool IsOfAny(const Texts& units, const std::set<std::string>& stopping)
{
    return std::any_of(units.begin(), units.end(), [&](const std::string& unit) { return stopping.contains(unit); });
}

void AddProcesses(const VolumeStopSet& set, MountNamespaces& namespaces, std::vector<VolumeBlocker>& blockers)
{
    ProcessFiles files;
    if (!files) {
        return; // the search for the services' processes has logged it
    }
    const std::set<std::string> stopping = StoppingUnits(set);
    files.ForEachProcess([&](const ProcessFolder& process) {
        if (process.pid == getpid()) {
            return; // the caller knows what it uses
        }
        const auto user = FileFinder(files, process, set.volumes).Find();
        const std::string point = namespaces.Keeps(files, process);
        if (!user && point.empty()) {
            return;
        }
        const Texts units = UnitsOf(files.Cgroup(process));
        if (IsOfAny(units, stopping) || (units.empty() && files.IsEnding(process))) {
            return; // it is ending; its unit may no longer be known
        }
        const std::string unit = units.empty() ? std::string() : units.back();
        if (user) {
            blockers.push_back({.kind = VolumeBlocker::Kind::Process, .unit = unit, .user = *user});
        }
        if (!point.empty()) {
            VolumeBlocker blocker{.kind = VolumeBlocker::Kind::MountNamespace, .unit = unit, .user = {}};
            blocker.user.pid = process.pid;
            blocker.user.command = files.Command(process);
            blocker.user.file = point;
            blockers.push_back(blocker);
        }
    });
}

void AddPath(VolumeBlocker::Kind kind, const std::string& path, std::vector<VolumeBlocker>& blockers)
{
    VolumeBlocker blocker{.kind = kind, .unit = {}, .user = {}};
    blocker.user.file = path;
    blockers.push_back(blocker);
}

void AddMounts(const std::vector<MountEntry>& table, const Texts& volumes, std::vector<VolumeBlocker>& blockers)
{
    for (const MountEntry& mount : table) {
        if (IsOnAny(mount.point, volumes) && std::find(volumes.begin(), volumes.end(), mount.point) == volumes.end()) {
            AddPath(VolumeBlocker::Kind::Mount, mount.point, blockers);
        }
    }
    for (const std::string& point : FindBindMounts(table, volumes)) {
        AddPath(VolumeBlocker::Kind::BindMount, point, blockers);
    }
}

/// Adds the paths in the first column of a kernel table.
void AddTable(VolumeBlocker::Kind kind, const char* table, const Texts& volumes, std::vector<VolumeBlocker>& blockers)
{
    TextReader reader;
    for (const std::string& path : PathsInColumn(reader.Read(AT_FDCWD, table).value_or(""), 0)) {
        if (IsOnAny(path, volumes)) {
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
        const std::string path = std::string(name) + "/loop/backing_file"; // only loop devices in use have it
        const std::string_view text = reader.Read(devices.Get(), path.c_str()).value_or(std::string_view());
        const std::string_view file = text.substr(0, text.find('\n'));
        if (IsOnAny(file, volumes)) {
            AddPath(VolumeBlocker::Kind::LoopDevice, std::string(file), blockers);
            blockers.back().user.command = "/dev/" + std::string(name);
        }
        return true;
    });
}

} // namespace

std::vector<VolumeBlocker> FindVolumeBlockers(const VolumeStopSet& set)
{
    using Kind = VolumeBlocker::Kind;
    std::vector<VolumeBlocker> blockers;
    MountNamespaces namespaces(set.volumes);
    AddProcesses(set, namespaces, blockers);
    AddMounts(namespaces.Own(), set.volumes, blockers);
    AddLoopDevices(set.volumes, blockers);
    AddTable(Kind::SwapFile, "/proc/swaps", set.volumes, blockers);
    AddTable(Kind::KernelExport, "/proc/fs/nfs/exports", set.volumes, blockers);
    return blockers;
}

} // namespace MERO::Systemd
