#include "diagnosis/holds.h"

#include "output/times.h"

#include <merosystemd/systemd.hpp>

#include <sys/stat.h>

#include <algorithm>

namespace MERO::Tool {

std::string ServiceName(const std::string& unit)
{
    return unit.ends_with(".service") ? unit : unit + ".service";
}

std::string OwnName(const std::string& name, const UnitProperties& unit)
{
    return OwnName(name, unit["Id"]);
}

std::string OwnName(const std::string& name, const std::string& id)
{
    return id.empty() || id == ServiceName(name) ? name : id;
}

std::vector<Cause> HoldsOf(const std::string& unit)
{
    Texts reasons;
    (void)MEROSystemdServiceReasonList(unit, reasons);
    std::erase_if(reasons, [](const std::string& reason) { return reason.starts_with('.'); }); // hidden: no hold
    std::sort(reasons.begin(), reasons.end());
    std::vector<Cause> holds;
    for (const std::string& reason : reasons) {
        const std::string path = "/run/merosystemd/reasons/" + ServiceName(unit) + "/" + reason;
        struct stat file;
        const bool isThere = stat(path.c_str(), &file) == 0;
        holds.push_back({"held",
                         "by the reason " + reason +
                             (isThere ? " since " + TimeText(file.st_mtime) + " (" + AgeText(file.st_mtime) + ")" : ""),
                         "merosystemctl reason release " + reason + " " + unit});
    }
    return holds;
}

} // namespace MERO::Tool
