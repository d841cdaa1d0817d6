#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "unit/unit_file.h"

#include "core/core_error.h"
#include "core/file_name.h"
#include "core/log.h"
#include "core/make_directory.h"
#include "core/passing_failure.h"
#include "unit/unit_name.h"

#include <merocore/file.h>

#include <boost/algorithm/string/trim.hpp>

#include <unistd.h>

#include <cerrno>
#include <locale>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace MERO::Systemd {
namespace {

// The operating system's own files win over the administrator's, unlike in systemd: deliberately.
constexpr std::string_view kUnitDirectories[] = {"/usr/local/lib/systemd/system/", "/usr/lib/systemd/system/",
                                                 "/etc/systemd/system/", "/run/systemd/system/"};

/// Hands the unit's path in each directory to `isThere` until that is true, and returns it; empty when it never is.
template <typename IsThere>
std::string FirstUnitPath(const std::string& unit, IsThere&& isThere)
{
    const std::string name = NormalizedUnitNameGet(unit);
    std::string path;
    if (IsFileName(name)) {                                     // a folder holds no file of another name
        path.reserve(kUnitDirectories[0].size() + name.size()); // the longest one
        for (std::string_view directory : kUnitDirectories) {
            if (isThere(path.assign(directory).append(name))) {
                return path;
            }
        }
    }
    return {};
}

[[noreturn]] void Fail(int error, const std::string& message)
{
    const SourceLine here = MERO_HERE;
    MLIBCErrSetEx(error, here.file, here.line);
    throw std::runtime_error(message);
}

bool IsThere(const std::string& path)
{
    return access(path.c_str(), F_OK) == 0;
}

/// Whether the line key=value is read back as it was written. The writer refuses all pairs for one that is not.
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
    std::string path = FirstUnitPath(unit, IsThere);
    if (path.empty()) {
        Fail(MLIBC_ERR_NOT_FOUND, "Unit is not found [" + unit + "]");
    }
    return path;
}

std::string UnitSectionKeyGet(const std::string& unit, const std::string& section, const std::string& key)
{
    char value[1024];
    value[0] = '\0'; // not all of it: that would cost as much as a system call
    int failure = 0;
    // Reading tells by itself whether the file is there: only when it fails, and not for that reason, is that asked.
    const auto isRead = [&](const std::string& path) {
        if (path.starts_with(kUnitDirectories[0]) && !IsThere(path) && errno == ENOENT) {
            return false; // as nearly always: asking costs less than an open that fails
        }
        if (MLIBCFileGetSectionValue(path.c_str(), section.c_str(), key.c_str(), value, sizeof value) == 0) {
            return true;
        }
        const int error = MLIBCErrGet();
        if (error != MLIBC_ERR_NOT_FOUND && IsPassingFailure(errno)) {
            failure = error;
            return true;
        }
        return error == MLIBC_ERR_NOT_FOUND || (errno != ENOENT && IsThere(path));
    };
    bool isFound = false;
    {
        const ErrorKeeper keeper; // a key that is missing is no error
        isFound = !FirstUnitPath(unit, isRead).empty();
    }
    if (failure != 0) {
        Fail(failure, "Unit cannot be read [" + unit + "]");
    }
    if (!isFound) {
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
    const std::string prefix = unit.substr(0, at + 1); // of an instance, its template's file holds the metadata
    return UnitSectionKeyGet(HasKnownUnitType(unit) ? prefix + unit.substr(unit.rfind('.')) : prefix, "X-Tarvix", key);
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
        const SourceLine here = MERO_HERE;
        const bool canBeSet = CanBeSet(key, value);
        if (!canBeSet) {
            MLIBCErrSetEx(MLIBC_ERR_INVALID_ARGUMENT, here.file, here.line);
        }
        if (!canBeSet || MLIBCSzHashSetValue(hash.get(), key.c_str(), value.c_str()) < 0) {
            MERO_LOG(LOG_ERR, "Fail to MLIBCSzHashSetValue to [%s] " MERO_CORE_ERROR_FORMAT, path.c_str(),
                     MERO_CORE_ERROR_VALUES); // and what can be set is written, deliberately
        }
    }
    if (MLIBCFileAddSection(path.c_str(), section.c_str(), hash.get(), 0) < 0) {
        // "SetSection", although a section is added: the text that the logs have always had.
        MERO_LOG(LOG_ERR, "Fail to MLIBCFileSetSection to [%s] " MERO_CORE_ERROR_FORMAT, path.c_str(),
                 MERO_CORE_ERROR_VALUES);
        return false;
    }
    return true;
}

} // namespace MERO::Systemd
