#include "volume/mount_table.h"

#include "core/text.h"
#include "resource/proc_texts.h"
#include "volume/mount_path.h"

#include <algorithm>

namespace MERO::Systemd {
namespace {

constexpr std::size_t kOptionalFields = 6; // the index of the first one

bool IsAtOrBelowAny(const std::string& path, const Texts& volumes)
{
    return std::any_of(volumes.begin(), volumes.end(),
                       [&](const std::string& volume) { return IsAtOrBelow(path, volume); });
}

/// Whether `mount` shows the whole of `volume`'s file system, or a folder that the volume shows too.
bool ShowsSame(const MountEntry& mount, const MountEntry& volume)
{
    return mount.device == volume.device && (volume.root == "/" || IsAtOrBelow(mount.root, volume.root));
}

const MountEntry* ParentOf(const MountEntry& mount, const std::vector<MountEntry>& table)
{
    const auto parent =
        std::find_if(table.begin(), table.end(), [&](const MountEntry& entry) { return entry.id == mount.parent; });
    return parent != table.end() ? &*parent : nullptr;
}

/// Whether an unmount of a volume propagates to a mount in another namespace. Their parents' peer groups decide that.
bool IsPropagated(const MountEntry* volumeParent, const MountEntry* mountParent)
{
    return volumeParent != nullptr && mountParent != nullptr &&
           std::find_first_of(volumeParent->peers.begin(), volumeParent->peers.end(), mountParent->peers.begin(),
                              mountParent->peers.end()) != volumeParent->peers.end();
}

std::vector<MountEntry> VolumesIn(const std::vector<MountEntry>& table, const Texts& volumes)
{
    std::vector<MountEntry> mounts;
    std::copy_if(table.begin(), table.end(), std::back_inserter(mounts), [&](const MountEntry& entry) {
        return std::find(volumes.begin(), volumes.end(), entry.point) != volumes.end();
    });
    return mounts;
}

} // namespace

std::vector<MountEntry> MountTableParse(std::string_view text)
{
    std::vector<MountEntry> table;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        Texts fields;
        if (Split(std::string(text.substr(0, end)), fields, " ") && fields.size() > kOptionalFields) {
            MountEntry entry{.id = fields[0],
                             .parent = fields[1],
                             .device = fields[2],
                             .root = UnescapeOctal(fields[3]),
                             .point = UnescapeOctal(fields[4]),
                             .peers = {}};
            for (std::size_t i = kOptionalFields; i < fields.size() && fields[i] != "-"; ++i) {
                entry.peers.push_back(fields[i].substr(fields[i].find(':') + 1)); // "shared:1", "master:1"
            }
            table.push_back(std::move(entry));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return table;
}

Texts FindBindMounts(const std::vector<MountEntry>& table, const Texts& volumes)
{
    Texts points;
    for (const MountEntry& volume : VolumesIn(table, volumes)) {
        for (const MountEntry& mount : table) {
            if (ShowsSame(mount, volume) && !IsAtOrBelowAny(mount.point, volumes) &&
                std::find(points.begin(), points.end(), mount.point) == points.end()) {
                points.push_back(mount.point);
            }
        }
    }
    return points;
}

std::string FindKeptMount(const std::vector<MountEntry>& own, const std::vector<MountEntry>& other,
                          const Texts& volumes)
{
    for (const MountEntry& volume : VolumesIn(own, volumes)) {
        for (const MountEntry& mount : other) {
            if (ShowsSame(mount, volume) && !IsPropagated(ParentOf(volume, own), ParentOf(mount, other))) {
                return mount.point;
            }
        }
    }
    return {};
}

} // namespace MERO::Systemd
