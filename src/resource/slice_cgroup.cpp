#define MERO_SOURCE_NAME "systemd_kill_slice"
#include "resource/slice_cgroup.h"

#include "core/directory_entries.h"
#include "core/errors.h"
#include "core/log.h"
#include "core/names.h"
#include "core/text_reader.h"
#include "resource/cgroup_layout.h"
#include "resource/proc_texts.h"

#include <merocore/file.h>
#include <merosystemd/systemd.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace MERO::Systemd {
namespace {

namespace fs = std::filesystem;

constexpr const char* kRootSlice = "-.slice"; // every process is in it

/// Returns the name of a unit's folder in `parent`.
std::string FolderOfUnit(const std::string& parent, const std::string& unit)
{
    const std::string escaped = "_" + unit;
    return MLIBCFileExist((parent + escaped).c_str()) == 1 ? escaped : unit;
}

/// Returns the folders in a folder. Empty if the folder is gone: units end at any time.
std::vector<fs::path> FoldersIn(const fs::path& folder)
{
    std::vector<std::string> names; // not fs::directory_iterator: it ends the process if memory runs out
    const int error = DirectoryEntries(folder.string(), names);
    if (error != 0 && error != ENODEV) {
        throw fs::filesystem_error("cannot be read", folder, std::error_code(error, std::generic_category()));
    }
    std::vector<fs::path> folders;
    for (const std::string& name : names) {
        fs::path path = folder / name;
        std::error_code gone;
        if (fs::is_directory(path, gone)) {
            folders.push_back(std::move(path));
        }
    }
    return folders;
}

void AddSlices(const fs::path& folder, std::vector<std::string>& slices)
{
    for (const fs::path& path : FoldersIn(folder)) {
        const std::string name = UnitOfFolder(path.filename().string());
        if (UnitTypeGet(name) == "slice") {
            slices.push_back(name);
            AddSlices(path, slices);
        }
    }
}

void AddUnits(const fs::path& folder, std::vector<std::string>& units)
{
    for (const fs::path& path : FoldersIn(folder)) {
        const std::string name = UnitOfFolder(path.filename().string());
        if (UnitTypeGet(name) == "slice") {
            AddUnits(path, units);
        } else if (HasKnownUnitType(name)) {
            units.push_back(name);
        }
    }
}

/// Calls `take` with the lines of cgroup.procs in the folder and in each folder below it, until it returns false.
bool ForEachProcs(const fs::path& folder, TextReader& reader, const std::function<bool(std::string_view)>& take)
{
    int error = 0;
    const auto processes = reader.Read(AT_FDCWD, (folder / "cgroup.procs").c_str(), &error);
    if (!processes && IsPassingFailure(error)) {
        throw fs::filesystem_error("cannot be read", folder, std::error_code(error, std::generic_category()));
    }
    if (processes && !take(*processes)) {
        return false;
    }
    const std::vector<fs::path> folders = FoldersIn(folder);
    return std::all_of(folders.begin(), folders.end(),
                       [&](const fs::path& path) { return ForEachProcs(path, reader, take); });
}

/// Whether a path in `paths` leads through the slice. Each path must be at the end of a line, or be the whole text.
bool LeadsThrough(std::string_view paths, const std::string& slice)
{
    const auto holds = [&](const std::string& folder) {
        for (std::size_t at = 0; (at = paths.find(folder, at)) != paths.npos; at += folder.size()) {
            const char next = at + folder.size() < paths.size() ? paths[at + folder.size()] : '\n';
            if (next == '/' || next == '\n') {
                return true;
            }
        }
        return false;
    };
    return slice == kRootSlice || holds("/" + slice) || holds("/_" + slice);
}

} // namespace

std::string SliceCgroup(const std::string& slice)
{
    std::string path = SystemdHierarchy();
    if (slice == kRootSlice) {
        return path;
    }
    const std::string name = UnitNameWithoutFileExtensionGet(slice);
    for (std::size_t dash = name.find('-', 1); dash != name.npos; dash = name.find('-', dash + 1)) {
        path += FolderOfUnit(path, name.substr(0, dash) + ".slice") + "/";
    }
    return path + FolderOfUnit(path, slice);
}

bool SlicesOfSystemd(std::vector<std::string>& slices)
{
    std::vector<std::string> found;
    AddSlices(SystemdHierarchy(), found);
    slices.insert(slices.end(), found.begin(), found.end());
    return !found.empty();
}

bool ForEachProcessOfSlice(const std::string& slice, const std::function<void(std::string_view)>& take)
{
    const std::string folder = SliceCgroup(slice);
    TextReader reader;
    return MLIBCFileCheckDir(folder.c_str()) == 0 && ForEachProcs(folder, reader, [&](std::string_view lines) {
               take(lines);
               return true;
           });
}

std::vector<std::string> UnitsOfSlice(const std::string& slice)
{
    std::vector<std::string> units;
    try {
        AddUnits(SliceCgroup(slice), units);
    } catch (const fs::filesystem_error& error) {
        MERO_LOG(LOG_ERR, "Failed to list the units of [%s]: [%s]", slice.c_str(), error.what());
    }
    return units;
}

bool HasLiveProcess(const std::string& slice)
{
    try {
        TextReader reader;
        return !ForEachProcs(SliceCgroup(slice), reader, [](std::string_view lines) { return lines.empty(); });
    } catch (const std::exception& exception) {
        MERO_LOG(LOG_ERR, "Failed to check cgruop procs: [%s]",
                 exception.what()); // "cgruop": programs match this
    } catch (...) {
        MERO_LOG(LOG_ERR, "Failed to check cgruop procs");
    }
    return true; // unknown: do not report as killed what may be alive
}

bool HasSystemdHierarchy()
{
    return MLIBCFileExist(SystemdHierarchy().c_str()) == 1;
}

bool MayHaveProcess(const std::string& slice)
{
    const Descriptor proc(open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    TextReader reader;
    bool isFound = false;
    bool isReadable = false;
    DirectoryNames().ForEach(proc.Get(), [&](std::string_view name) {
        if (name.front() < '0' || name.front() > '9') {
            return true;
        }
        int error = 0;
        const auto lines = reader.Read(proc.Get(), (std::string(name) + "/cgroup").c_str(), &error);
        isReadable = isReadable || lines; // this process at least sees itself
        isFound = lines ? LeadsThrough(*lines, slice) : error != ENOENT && error != ESRCH;
        return !isFound;
    });
    return isFound || !isReadable;
}

bool RunsInSlice(const std::string& slice)
{
    std::string path;
    return slice == kRootSlice ||
           (MEROSystemdCgroupPathnameGet(getpid(), SystemdControllers(false), path) && LeadsThrough(path, slice));
}

} // namespace MERO::Systemd
