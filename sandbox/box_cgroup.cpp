#include "sandbox/box_cgroup.h"

#include <fstream>
#include <sys/stat.h>

#include "sandbox/await.h"
#include "sandbox/check.h"
#include "sandbox/mounting.h"

namespace MERO::Sandbox {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kPrefix = "mero-sandbox-";
constexpr std::chrono::milliseconds kPatience{3000};

/// @return whether it is gone
bool TryToRemoveTree(const fs::path& cgroup)
{
    std::error_code gone;
    for (fs::directory_iterator entry(cgroup, gone), end; !gone && entry != end; entry.increment(gone))
        if (entry->is_directory(gone))
            (void)TryToRemoveTree(entry->path());
    return rmdir(cgroup.c_str()) == 0 || errno == ENOENT;
}

/// A cgroup cannot be removed before the last of its processes, which may just have been killed, is gone.
void RemoveTree(const fs::path& cgroup)
{
    (void)Await(kPatience, [&] { return TryToRemoveTree(cgroup); });
}

bool IsLivingKeeper(const std::string& pid)
{
    std::string stat;
    std::getline(std::ifstream("/proc/" + pid + "/stat"), stat);
    const std::string head = pid + " (" + kKeeperName + ") ";
    return stat.starts_with(head) && stat.size() > head.size() && stat[head.size()] != 'Z';
}

void RemoveLeftovers(const fs::path& root)
{
    const std::string ownPid = std::to_string(getpid());
    for (const fs::directory_entry& entry : fs::directory_iterator(root)) {
        const std::string name = entry.path().filename();
        if (!name.starts_with(kPrefix))
            continue;
        const std::string pid = name.substr(kPrefix.size());
        if (pid == ownPid || !IsLivingKeeper(pid))
            RemoveTree(entry.path());
    }
}

} // namespace

BoxCgroup::BoxCgroup(const std::string& hierarchyName) : hierarchy(hierarchyName)
{
    RemoveLeftovers(hierarchy.Root());
    path = hierarchy.Root() / (std::string(kPrefix) + std::to_string(getpid()));
    Check(mkdir(path.c_str(), 0755), "cannot make a cgroup in name=" + hierarchyName);
}

BoxCgroup::~BoxCgroup()
{
    RemoveTree(path);
}

void BoxCgroup::Enter() const
{
    WriteFile(path / "cgroup.procs", "0");
}

} // namespace MERO::Sandbox
