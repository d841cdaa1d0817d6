#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "volume/reason_store.h"

#include "core/directory_entries.h"
#include "core/directory_walk.h"
#include "core/errors.h"
#include "core/log.h"
#include "core/names.h"

#include <merosystemd/systemd.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace MERO::Systemd {
namespace {

constexpr const char* kRoot = "/run/merosystemd/reasons/";

/// Returns `allowed`; sets the error register if it is false.
bool Allow(bool allowed)
{
    if (!allowed) {
        SetError(MERO_HERE, MLIBC_ERR_INVALID_ARGUMENT);
    }
    return allowed;
}

} // namespace

std::string ReasonDirectory(const std::string& service)
{
    return kRoot + NormalizedUnitNameGet(service);
}

bool CanHaveReasons(const std::string& service)
{
    const std::string name = NormalizedUnitNameGet(service);
    return Allow(!service.empty() && IsFileName(name) && UnitTypeGet(name) == "service");
}

ReasonChange::ReasonChange(const std::vector<std::string>& services)
{
    for (const std::string& service : services) {
        hadReason_[service] = CheckServiceHasReason(service);
    }
}

bool ReasonChange::HappenedTo(const std::vector<std::string>& services) const
{
    return std::any_of(services.begin(), services.end(), [this](const std::string& service) {
        return hadReason_.at(service) != CheckServiceHasReason(service);
    });
}

bool CheckServiceHasReason(const std::string& service)
{
    const ErrorKeeper keeper;         // "no" is an answer
    std::vector<std::string> reasons; // not glob(): it frees names twice if memory runs out
    const int error = DirectoryEntries(ReasonDirectory(service), reasons);
    if (error != 0) {
        return error != ENOTDIR; // if we cannot see the reasons, assume that the service is held
    }
    return std::any_of(reasons.begin(), reasons.end(), [](const std::string& name) { return !name.starts_with('.'); });
}

bool ListServicesWithReason(std::vector<std::string>& services)
{
    std::vector<std::string> entries;
    if (DirectoryEntries(kRoot, entries) != 0) {
        return false;
    }
    std::copy_if(entries.begin(), entries.end(), std::back_inserter(services), [](const std::string& entry) {
        return UnitTypeGet(entry) == "service" && CheckServiceHasReason(entry);
    });
    return true;
}

bool UnlinkReasons(const std::string& reason, const std::vector<std::string>& services,
                   std::vector<std::string>& removed, std::vector<std::string>& failed)
{
    if (&services == &removed || &services == &failed) {
        return UnlinkReasons(std::string(reason), std::vector<std::string>(services), removed, failed);
    }
    bool done = true;
    for (const std::string& service : services) {
        if (!Allow(IsFileName(reason)) || !CanHaveReasons(service)) {
            failed.push_back(service);
            done = false;
            continue;
        }
        const std::string file = ReasonDirectory(service) + "/" + reason;
        if (unlink(file.c_str()) == 0 || errno == ENOENT) {
            removed.push_back(service);
        } else {
            MERO_LOG(LOG_ERR, "failed to unlink reason file [%s] (%m)", file.c_str());
            SetError(MERO_HERE, MLIBC_ERR_UNLINK);
            failed.push_back(service);
            done = false;
        }
    }
    return done;
}

bool LinkMeroReason(const std::string& dropInDir, const std::string& sourceFile)
{
    if (!MakeDirectory(dropInDir)) {
        MERO_LOG(LOG_ERR, "Fail to mkdir [%s] " MERO_CORE_ERROR_FORMAT, dropInDir.c_str(), MERO_CORE_ERROR_VALUES);
        return false;
    }
    const std::string linkName = dropInDir + "mero-reason.conf"; // `dropInDir` ends with "/"
    const std::size_t name = linkName.rfind('/') + 1;
    const DirectoryWalk folder = WalkToDirectory(linkName.substr(0, name), IfMissing::Fail);
    if (linkat(AT_FDCWD, sourceFile.c_str(), folder.directory.Get(), linkName.c_str() + name, 0) != 0) {
        MERO_LOG(LOG_ERR, "Fail to create link from [%s] to [%s] (%m).", linkName.c_str(), sourceFile.c_str());
        return false;
    }
    return true;
}

} // namespace MERO::Systemd
