#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "unit/unit_file.h"

#include "core/directory_walk.h"
#include "core/errors.h"
#include "core/log.h"
#include "core/names.h"
#include "core/text.h"
#include "unit/unit_properties.h"

#include <merocore/file.h>

#include <boost/algorithm/string/trim.hpp>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <locale>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>

namespace MERO::Systemd {
namespace {

// Unlike in systemd, the operating system's own files take precedence over the administrator's.
constexpr std::string_view kUnitDirectories[] = {"/usr/local/lib/systemd/system/", "/usr/lib/systemd/system/",
                                                 "/etc/systemd/system/", "/run/systemd/system/"};

/// Calls `visit` with the unit's path in each directory, until it returns true.
template <typename Visit>
void VisitUnitPaths(const std::string& unit, Visit&& visit)
{
    const std::string name = NormalizedUnitNameGet(unit);
    if (!IsFileName(name)) {
        return; // no file can have this name
    }
    std::string path;
    path.reserve(kUnitDirectories[0].size() + name.size()); // the first directory is the longest
    for (std::string_view directory : kUnitDirectories) {
        if (visit(path.assign(directory).append(name))) {
            return;
        }
    }
}

[[noreturn]] void Fail(int error, const std::string& message)
{
    SetError(MERO_HERE, error);
    throw std::runtime_error(message);
}

bool IsThere(const std::string& path)
{
    return access(path.c_str(), F_OK) == 0;
}

enum class Reading { NoFile, Done, Failed };

/// Reads a key from the file, if that exists. `value` stays as it was if section, key or value are missing, or the file
/// is not readable. Failed: the next attempt may succeed; the error register says why.
Reading ReadKey(const std::string& path, const std::string& section, const std::string& key, char (&value)[1024])
{
    if (path.starts_with(kUnitDirectories[0]) && !IsThere(path) && errno == ENOENT) {
        return Reading::NoFile; // nearly always: access() costs less than a failing open()
    }
    if (MLIBCFileGetSectionValue(path.c_str(), section.c_str(), key.c_str(), value, sizeof value) == 0 ||
        MLIBCErrGet() == MLIBC_ERR_NOT_FOUND) {
        return Reading::Done;
    }
    if (IsPassingFailure(errno)) {
        return Reading::Failed;
    }
    return errno != ENOENT && IsThere(path) ? Reading::Done : Reading::NoFile;
}

/// Whether the line key=value reads back as written. The core library refuses all pairs because of one that does not.
bool CanBeSet(const std::string& key, const std::string& value)
{
    const auto isTrimmed = [](const std::string& text) {
        return text == boost::algorithm::trim_copy(text, std::locale::classic());
    };
    return !key.empty() && key.find_first_of("=\n") == key.npos && key.find_first_of("#;[") != 0 && isTrimmed(key) &&
           value.find('\n') == value.npos && isTrimmed(value);
}

struct FreeHash {
    void operator()(MLIBCSzHash* hash) const { MLIBCSzHashFree(hash); }
};

} // namespace

std::string UnitPathGet(const std::string& unit)
{
    std::string found;
    VisitUnitPaths(unit, [&](const std::string& path) {
        const bool isThere = IsThere(path);
        found = isThere ? path : std::string();
        return isThere;
    });
    if (found.empty()) {
        Fail(MLIBC_ERR_NOT_FOUND, "Unit is not found [" + unit + "]");
    }
    return found;
}

std::string UnitSectionKeyGet(const std::string& unit, const std::string& section, const std::string& key)
{
    char value[1024];
    value[0] = '\0'; // clearing all of it would cost as much as a system call
    Reading reading = Reading::NoFile;
    int error = 0;
    {
        const ErrorKeeper keeper; // a missing key is no error
        VisitUnitPaths(unit, [&](const std::string& path) {
            reading = ReadKey(path, section, key, value);
            return reading != Reading::NoFile;
        });
        error = MLIBCErrGet();
    }
    if (reading == Reading::Failed) {
        Fail(error, "Unit cannot be read [" + unit + "]");
    }
    if (reading == Reading::NoFile) {
        Fail(MLIBC_ERR_NOT_FOUND, "Unit is not found [" + unit + "]");
    }
    return value;
}

std::string XTarvixKeyGet(const std::string& unit, const std::string& key)
{
    const std::size_t at = unit.find('@');
    if (at == unit.npos) {
        return UnitSectionKeyGet(unit, "X-Tarvix", key);
    }
    const std::string prefix = unit.substr(0, at + 1); // an instance's metadata is in its template's file
    return UnitSectionKeyGet(HasKnownUnitType(unit) ? prefix + unit.substr(unit.rfind('.')) : prefix, "X-Tarvix", key);
}

std::optional<std::string> MetadataKeyGet(SourceLine where, const std::string& strUnit, const char* key)
{
    if (!MERO_VALID_AT(where, !strUnit.empty())) {
        return std::nullopt;
    }
    try {
        return XTarvixKeyGet(strUnit, key);
    } catch (const std::exception&) {
        return std::nullopt; // usually there is no such unit; see the error register
    }
}

bool YesKeyGet(SourceLine where, const std::string& strUnit, const char* key, bool& answer)
{
    const auto value = MetadataKeyGet(where, strUnit, key);
    if (value) {
        answer = *value == "yes";
    }
    return value.has_value();
}

bool TargetsKeyGet(SourceLine where, const std::string& strUnit, const char* key, std::vector<std::string>& targets)
{
    const auto value = MetadataKeyGet(where, strUnit, key);
    std::vector<std::string> units;
    if (!value || !Split(*value, units, " ")) {
        return false;
    }
    std::copy_if(units.begin(), units.end(), std::back_inserter(targets),
                 [](const std::string& unit) { return UnitTypeGet(unit) == "target"; });
    return true;
}

std::vector<std::string> UnitPathsParse(const std::vector<std::string>& lines)
{
    std::vector<std::string> paths;
    for (const std::string& line : lines) {
        const std::size_t equals = line.find('=');
        const std::string property = line.substr(0, equals);
        if (equals == line.npos || (property != "FragmentPath" && property != "DropInPaths")) {
            continue;
        }
        // FragmentPath is one path, which may hold blanks; DropInPaths is a list.
        const std::string value = line.substr(equals + 1);
        const std::vector<std::string> values =
            property == "DropInPaths" ? ItemsOf(value) : std::vector{boost::algorithm::trim_copy(value)};
        std::copy_if(values.begin(), values.end(), std::back_inserter(paths),
                     [](const std::string& value) { return !value.empty(); });
    }
    return paths;
}

bool AddUnitSection(const std::string& directory, const std::string& fileName, const std::string& section,
                    const std::map<std::string, std::string>& values)
{
    const std::unique_ptr<MLIBCSzHash, FreeHash> hash(MLIBCSzHashAlloc(1024));
    if (hash == nullptr) {
        MERO_LOG(LOG_ERR, "Fail to MLIBCSzHashAlloc " MERO_CORE_ERROR_FORMAT, MERO_CORE_ERROR_VALUES);
        return false;
    }
    if (!MakeDirectory(directory)) {
        MERO_LOG(LOG_ERR, "Fail to mkdir [%s] " MERO_CORE_ERROR_FORMAT, directory.c_str(), MERO_CORE_ERROR_VALUES);
        return false;
    }
    const std::string path = directory + "/" + fileName;
    for (const auto& [key, value] : values) {
        const bool canBeSet = CanBeSet(key, value);
        if (!canBeSet) {
            SetError(MERO_HERE, MLIBC_ERR_INVALID_ARGUMENT);
        }
        if (!canBeSet || MLIBCSzHashSetValue(hash.get(), key.c_str(), value.c_str()) < 0) {
            MERO_LOG(LOG_ERR, "Fail to MLIBCSzHashSetValue to [%s] " MERO_CORE_ERROR_FORMAT, path.c_str(),
                     MERO_CORE_ERROR_VALUES); // still writes the others
        }
    }
    if (MLIBCFileAddSection(path.c_str(), section.c_str(), hash.get(), 0) < 0) {
        // "SetSection", although this adds a section: programs match this text.
        MERO_LOG(LOG_ERR, "Fail to MLIBCFileSetSection to [%s] " MERO_CORE_ERROR_FORMAT, path.c_str(),
                 MERO_CORE_ERROR_VALUES);
        return false;
    }
    return true;
}

} // namespace MERO::Systemd
