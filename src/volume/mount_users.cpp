#define MERO_SOURCE_NAME "systemd_service_list_by_mount_path"
#include "volume/mount_users.h"

#include "core/errors.h"
#include "core/names.h"
#include "resource/proc_texts.h"
#include "volume/mount_path.h"

#include <merosystemd/systemd.hpp>

#include <map>
#include <string_view>

namespace MERO::Systemd {
namespace {

struct Use {
    FileUse how;
    std::string_view file; ///< empty: none
};

/// The kernel's mark for a file that no longer has a name.
bool IsDeleted(std::string_view path)
{
    return path.ends_with(" (deleted)");
}

/// Whether a process' cgroup path leads through a user manager.
bool IsOfUserManager(std::string_view cgroup)
{
    const std::size_t manager = cgroup.find("/user@");
    return manager != cgroup.npos && cgroup.find('/', manager + 1) != cgroup.npos;
}

/// Finds the first of the process' files below the mount path. The memory map costs most, so it comes last.
Use FindUse(ProcessFiles& files, const ProcessFolder& process, MountPath& mount, MountUserSearch search)
{
    Use use{};
    const auto isDeletedUser = [&](std::string_view path) {
        return search == MountUserSearch::ForUnmount && IsDeleted(path);
    };
    const auto uses = [&](FileUse how, std::string_view path) {
        use = {how, isDeletedUser(path) ? mount.MatchDeleted(path) : mount.Match(path)};
        return !use.file.empty();
    };
    if (uses(FileUse::WorkingDirectory, files.Link(process.descriptor, "cwd")) ||
        uses(FileUse::Executable, files.Link(process.descriptor, "exe"))) {
        return use;
    }
    files.ForEachDescriptor(process, [&](std::string_view link) { return !uses(FileUse::Descriptor, link); });
    if (use.file.empty()) {
        std::string_view last;
        files.ForEachMap(process, [&](std::string_view path) {
            const bool isNew = path != last;
            last = path;
            return !(isNew && uses(FileUse::Map, isDeletedUser(path) ? path : UpToBlank(path)));
        });
    }
    return use;
}

/// Knows which services have opted out. Reads each one's metadata once.
class OptOuts {
public:
    bool Has(const std::string& service)
    {
        const auto [entry, isNew] = known_.try_emplace(service, false);
        if (isNew) {
            (void)MEROSystemdServiceSkipListByMntPath(service, entry->second); // no unit file: not opted out
        }
        return entry->second;
    }

private:
    std::map<std::string, bool> known_;
};

} // namespace

bool ForEachMountUser(const std::string& mountPath, MountUserSearch search,
                      const std::function<void(ProcessFiles&, const MountUser&)>& take)
{
    MountPath mount(mountPath);
    ProcessFiles files;
    if (!files) {
        SetError(MERO_HERE, MLIBC_ERR_OPEN_DIRECTORY);
        return false;
    }
    OptOuts optOuts;
    files.ForEachProcess([&](const ProcessFolder& process) {
        const Use use = FindUse(files, process, mount, search);
        if (use.file.empty()) {
            return;
        }
        const std::string cgroup = files.Cgroup(process);
        const std::string unit = UnitOfCgroup(cgroup);
        const bool isForeign = search == MountUserSearch::ForUnmount && IsOfUserManager(cgroup);
        if (isForeign || UnitTypeGet(unit) != "service" || optOuts.Has(unit)) {
            return;
        }
        MERO_LOG(LOG_INFO, "file used: [%s]", use.file.data());
        take(files, {unit, process, use.how, std::string(use.file)});
    });
    return true;
}

} // namespace MERO::Systemd
