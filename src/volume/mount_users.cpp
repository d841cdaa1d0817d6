#define MERO_SOURCE_NAME "systemd_service_list_by_mount_path"
#include "volume/mount_users.h"

#include "core/log.h"
#include "resource/process_cgroup.h"
#include "unit/unit_name.h"
#include "volume/mount_path.h"

#include <merocore/error.h>
#include <merosystemd/systemd.hpp>

#include <map>

namespace MERO::Systemd {
namespace {

struct Use {
    FileUse how;
    std::string file; ///< empty: none
};

/// The first of the process' files that lies below the mount path. The memory map costs most, and comes last.
Use FindUse(ProcessFiles& files, const ProcessFolder& process, MountPath& mount)
{
    Use use{FileUse::WorkingDirectory, mount.Match(files.Link(process.descriptor, "cwd"))};
    if (use.file.empty()) {
        use = {FileUse::Executable, mount.Match(files.Link(process.descriptor, "exe"))};
    }
    if (use.file.empty()) {
        files.ForEachDescriptor(process, [&](std::string_view link) {
            use = {FileUse::Descriptor, mount.Match(link)};
            return use.file.empty();
        });
    }
    if (use.file.empty()) {
        std::string_view last; // a file is mapped in several pieces, one behind the other
        files.ForEachMap(process, [&](std::string_view line) {
            const std::string_view path = MapPath(line);
            if (path != last) {
                last = path;
                use = {FileUse::Map, mount.Match(path)};
            }
            return use.file.empty();
        });
    }
    return use;
}

/// Whether services opted out, by their names: asked once each.
class OptOuts {
public:
    bool Has(const std::string& service)
    {
        const auto [entry, isNew] = known_.try_emplace(service, false);
        if (isNew) {
            (void)MEROSystemdServiceSkipListByMntPath(service, entry->second); // without a unit file: no
        }
        return entry->second;
    }

private:
    std::map<std::string, bool> known_;
};

} // namespace

bool ForEachMountUser(const std::string& mountPath, const std::function<void(ProcessFiles&, const MountUser&)>& take)
{
    MountPath mount(mountPath);
    ProcessFiles files;
    if (!files) {
        const SourceLine here = MERO_HERE;
        MLIBCErrSetEx(MLIBC_ERR_OPEN_DIRECTORY, here.file, here.line);
        return false;
    }
    OptOuts optOuts;
    files.ForEachProcess([&](const ProcessFolder& process) {
        const Use use = FindUse(files, process, mount);
        if (use.file.empty()) {
            return;
        }
        const std::string unit = UnitOfCgroup(files.Cgroup(process));
        if (UnitTypeGet(unit) != "service" || optOuts.Has(unit)) {
            return;
        }
        MERO_LOG(LOG_INFO, "file used: [%s]", use.file.c_str());
        take(files, {unit, process, use.how, use.file});
    });
    return true;
}

} // namespace MERO::Systemd
