#include "sandbox/box_cgroup.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

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

/// A cgroup cannot be removed until its last process is gone, which may only just have been killed.
void RemoveTree(const fs::path& cgroup)
{
    (void)Await(kPatience, [&] { return TryToRemoveTree(cgroup); });
}

/// @param mode  LOCK_EX, with LOCK_NB not to wait
/// @return the locked folder; none if another process has locked it, or it is gone
Descriptor Lock(const fs::path& folder, int mode)
{
    Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const bool isLocked = opened && Uninterrupted([&] { return flock(opened.Get(), mode); }) == 0;
    return isLocked ? std::move(opened) : Descriptor();
}

void RemoveLeftovers(const fs::path& root)
{
    for (const fs::directory_entry& entry : fs::directory_iterator(root))
        if (entry.path().filename().string().starts_with(kPrefix) && Lock(entry.path(), LOCK_EX | LOCK_NB))
            RemoveTree(entry.path());
}

} // namespace

BoxCgroup::BoxCgroup(const Hierarchy& owned) : hierarchy(owned)
{
    const std::string what = std::string("cannot make a cgroup in ") + owned.mountPoint;
    // One at a time: otherwise a new cgroup that is not locked yet would look like a leftover.
    const Descriptor turn = Lock(hierarchy.Root(), LOCK_EX);
    RemoveLeftovers(hierarchy.Root());
    std::string unique = hierarchy.Root() / (std::string(kPrefix) + "XXXXXX");
    if (mkdtemp(unique.data()) == nullptr)
        throw std::system_error(errno, std::generic_category(), what);
    path = unique;
    Check(chmod(path.c_str(), 0755), what);
    locked = Lock(path, LOCK_EX);
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
