#include "running/lock_owner.h"

#include <sys/stat.h>

#include <fstream>
#include <sstream>

namespace MERO::Tool {

std::string LockOwner(const char* path)
{
    struct stat file;
    if (stat(path, &file) != 0) {
        return {};
    }
    const std::string inode = ":" + std::to_string(file.st_ino);
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) { // "1: FLOCK  ADVISORY  WRITE 123 00:19:456 0 EOF": see proc(5)
        std::istringstream fields(line);
        std::string number, type, kind, access, pid, device;
        fields >> number >> type >> kind >> access >> pid >> device;
        if (type == "FLOCK" && device.ends_with(inode)) {
            std::string name;
            std::getline(std::ifstream("/proc/" + pid + "/comm"), name);
            return "process " + pid +
                   (name.empty() ? ", which has ended: what it stopped is being started again" : " (" + name + ")");
        }
    }
    return {};
}

} // namespace MERO::Tool
