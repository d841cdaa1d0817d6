#include "unit/unit_file_list.h"

#include "core/names.h"
#include "core/text.h"
#include "unit/unit_properties.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <utility>

namespace MERO::Systemd {
namespace {

bool IsPassedOver(const std::error_code& error)
{
    return error.value() == ENOENT || error.value() == ENOTDIR || error.value() == EACCES;
}

int AddNames(const std::string& folder, const std::string& type, Texts& names)
{
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (const std::filesystem::directory_iterator end; !error && entry != end; entry.increment(error)) {
        std::string name = entry->path().filename();
        if (name.starts_with('.') || !IsUnitFileName(name) || (!type.empty() && UnitTypeGet(name) != type)) {
            continue;
        }
        std::error_code vanished; // in this order both know it from the folder entry, and follow no link
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
    auto answer = RunShow({}, {}, {"UnitPath"});
    if (!answer || answer->exitCode != 0 || answer->units.empty()) {
        return std::nullopt;
    }
    Texts folders = ItemsOf(answer->units.front()["UnitPath"]);
    const auto isPath = [](const std::string& folder) { return folder.starts_with('/'); }; // not "[unprintable]"
    const bool areFolders = !folders.empty() && std::all_of(folders.begin(), folders.end(), isPath);
    return areFolders ? std::optional(std::move(folders)) : std::nullopt;
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
