#include "unit/unit_file_list.h"

#include "core/names.h"
#include "core/text.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <sstream>
#include <string_view>

namespace MERO::Systemd {
namespace {

bool IsPassedOver(const std::error_code& error)
{
    return error.value() == ENOENT || error.value() == ENOTDIR || error.value() == EACCES;
}

/// As unit_name_is_valid() in systemd's unit-name.c has it. What is hidden is no unit file.
bool IsUnitFileName(const std::string& name)
{
    constexpr std::string_view kCharacters = "@:-_.\\0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    return !name.starts_with('.') && !name.starts_with('@') && HasKnownUnitType(name) &&
           name.find_first_not_of(kCharacters) == name.npos;
}

int AddNames(const std::string& folder, const std::string& type, Texts& names)
{
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (const std::filesystem::directory_iterator end; !error && entry != end; entry.increment(error)) {
        std::string name = entry->path().filename();
        if (!IsUnitFileName(name) || (!type.empty() && UnitTypeGet(name) != type)) {
            continue;
        }
        std::error_code vanished; // in this order both know it from the folder itself, and follow no link
        if (entry->is_symlink(vanished) || entry->is_regular_file(vanished)) {
            names.push_back(std::move(name));
        }
    }
    return IsPassedOver(error) ? 0 : error.value();
}

char LowerCase(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; // in every locale
}

bool IsBefore(const std::string& one, const std::string& other)
{
    const auto type = [](std::string_view name) { return name.substr(name.rfind('.') + 1); };
    const int types = type(one).compare(type(other));
    return types != 0 ? types < 0
                      : std::lexicographical_compare(one.begin(), one.end(), other.begin(), other.end(),
                                                     [](char a, char b) { return LowerCase(a) < LowerCase(b); });
}

} // namespace

std::optional<Texts> UnitFolders()
{
    std::optional<Texts> folders;
    (void)MEROSystemdSystemctl("show", {"--property=UnitPath"}, {}, [&](int exitCode, const Texts& lines) {
        constexpr std::string_view kName = "UnitPath=";
        if (exitCode != 0 || lines.empty() || !lines.front().starts_with(kName)) {
            return false;
        }
        std::istringstream words(lines.front().substr(kName.size()));
        Texts paths;
        for (std::string path; words >> path;) {
            paths.push_back(path);
        }
        // A path with a blank stands in quotes, one that cannot be printed in brackets.
        if (!paths.empty() &&
            std::all_of(paths.begin(), paths.end(), [](const std::string& path) { return path.starts_with('/'); })) {
            folders = std::move(paths);
        }
        return true;
    });
    return folders;
}

int ListUnitFiles(const Texts& folders, const std::string& type, Texts& units)
{
    Texts names;
    for (const std::string& folder : folders) {
        if (const int error = AddNames(folder, type, names); error != 0) {
            return error;
        }
    }
    std::sort(names.begin(), names.end()); // the same name from several folders
    names.erase(std::unique(names.begin(), names.end()), names.end());
    std::stable_sort(names.begin(), names.end(), IsBefore);
    units.insert(units.end(), names.begin(), names.end());
    return 0;
}

} // namespace MERO::Systemd
