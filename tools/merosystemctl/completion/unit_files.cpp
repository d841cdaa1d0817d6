#include "completion/unit_files.h"

#include "diagnosis/unit_names.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace MERO::Tool {
namespace {

namespace fs = std::filesystem;

/// Calls `take` with each entry of a folder. A folder that cannot be read counts as empty: a completion must not fail.
template <typename Take>
void ForEachEntry(const fs::path& folder, Take&& take)
{
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        take(*entry);
    }
}

/// Enabling creates links in the administrator's folders. The links of distributions and generators are always present.
bool CanHoldEnablement(const std::string& folder)
{
    return !folder.starts_with("/usr/") && !folder.starts_with("/lib/") && folder.find("/generator") == folder.npos;
}

void AddEntry(const fs::directory_entry& entry, bool isEnablement, std::map<std::string, UnitFile>& files)
{
    std::error_code error;
    const std::string name = entry.path().filename();
    const std::string target = entry.is_symlink(error) ? fs::read_symlink(entry.path(), error).string() : "";
    const std::string targetName = fs::path(target).filename();
    const bool isAlias = HasUnitType(targetName) && targetName != name;
    if (isAlias && isEnablement) {
        files[targetName].isLinked = true;
    }
    UnitFile& file = files[name];
    if (file.path.empty() && !entry.is_directory(error)) {
        file.path = entry.path();
        file.isAlias = isAlias;
        file.isMasked = target == "/dev/null" || (entry.is_regular_file(error) && entry.file_size(error) == 0);
    }
}

} // namespace

std::map<std::string, UnitFile> ReadUnitFolders(const Texts& folders)
{
    std::map<std::string, UnitFile> files;
    for (const std::string& folder : folders) {
        const bool isEnablement = CanHoldEnablement(folder);
        ForEachEntry(folder, [&](const fs::directory_entry& entry) {
            const std::string name = entry.path().filename();
            if (HasUnitType(name)) {
                AddEntry(entry, isEnablement, files);
            } else if (isEnablement &&
                       (name.ends_with(".wants") || name.ends_with(".requires") || name.ends_with(".upholds"))) {
                ForEachEntry(entry.path(), [&](const fs::directory_entry& link) {
                    const std::string linked = link.path().filename();
                    if (HasUnitType(linked)) {
                        files[linked].isLinked = true;
                    }
                });
            }
        });
    }
    for (auto& [name, file] : files) { // an instance uses its template's file, and its link counts for the template
        const std::size_t at = name.find('@');
        const auto pattern =
            at != name.npos ? files.find(name.substr(0, at + 1) + name.substr(name.rfind('.'))) : files.end();
        if (pattern != files.end() && file.path.empty()) {
            file.path = pattern->second.path;
            pattern->second.isLinked |= file.isLinked;
        }
    }
    return files;
}

bool HasLine(const UnitFile& file, std::string_view begin)
{
    std::ifstream lines(file.path);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(begin)) {
            return true;
        }
    }
    return false;
}

} // namespace MERO::Tool
