#define MERO_SOURCE_NAME "systemd_kill_slice"
#include "resource/slice_cgroup.h"

#include "core/directory_entries.h"
#include "core/log.h"
#include "core/passing_failure.h"
#include "core/text_reader.h"
#include "resource/process_cgroup.h"
#include "unit/unit_name.h"

#include <merocore/file.h>

#include <fcntl.h>

#include <cerrno>
#include <filesystem>

namespace MERO::Systemd {
namespace {

namespace fs = std::filesystem;

constexpr const char* kHierarchy = "/sys/fs/cgroup/systemd/";

/// The name that a unit's folder has in `parent`.
std::string FolderOfUnit(const std::string& parent, const std::string& unit)
{
    const std::string escaped = "_" + unit;
    return MLIBCFileExist((parent + escaped).c_str()) == 1 ? escaped : unit;
}

/// The folders in a folder. None in one that has vanished: units end at any time.
std::vector<fs::path> FoldersIn(const fs::path& folder)
{
    std::vector<std::string> names; // not by fs::directory_iterator, which ends the process where memory is out
    if (!DirectoryEntries(folder.string(), names) && errno != ENODEV) {
        throw fs::filesystem_error("cannot be read", folder, std::error_code(errno, std::generic_category()));
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

bool HasProcess(const fs::path& folder, TextReader& reader)
{
    const auto processes = reader.Read(AT_FDCWD, (folder / "cgroup.procs").c_str());
    if (!processes && IsPassingFailure(errno)) {
        throw fs::filesystem_error("cannot be read", folder, std::error_code(errno, std::generic_category()));
    }
    if (processes && !processes->empty()) {
        return true;
    }
    for (const fs::path& path : FoldersIn(folder)) {
        if (HasProcess(path, reader)) {
            return true;
        }
    }
    return false;
}

} // namespace

std::string SliceCgroup(const std::string& slice)
{
    std::string path = kHierarchy;
    if (slice == "-.slice") {
        return path;
    }
    const std::string name = UnitNameWithoutFileExtensionGet(slice);
    for (std::size_t dash = name.find('-', 1); dash != name.npos; dash = name.find('-', dash + 1)) {
        path += FolderOfUnit(path, name.substr(0, dash) + ".slice") + "/";
    }
    return path + FolderOfUnit(path, slice);
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
        return HasProcess(SliceCgroup(slice), reader);
    } catch (const std::exception& exception) {
        MERO_LOG(LOG_ERR, "Failed to check cgruop procs: [%s]", exception.what()); // spelt as logs have it
    } catch (...) {
        MERO_LOG(LOG_ERR, "Failed to check cgruop procs");
    }
    return true; // unknown: what may be alive is not called killed
}

} // namespace MERO::Systemd
