#include "running/reason_drop_in.h"

#include "diagnosis/holds.h"
#include "diagnosis/report.h"
#include "running/general_options.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace MERO::Tool {
namespace {

const std::string kReasons = "/run/merosystemd/reasons/";
const std::string kSource = "/run/merosystemd/mero-reason.conf"; // the drop-ins are links to it
const std::string kText = "# merosystemctl puts this into a service's drop-ins for as long as a reason holds it.\n"
                          "[Unit]\n"
                          "ConditionDirectoryNotEmpty=!" +
                          kReasons + "%n\n";

std::string DropInFolder(const std::string& service)
{
    return "/run/systemd/system/" + service + ".d/";
}

std::string DropIn(const std::string& service)
{
    return DropInFolder(service) + "mero-reason.conf"; // the library's name for it
}

std::string ReadFile(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

/// Writes the file that the drop-ins link to, in one step, unless it exists.
bool WriteSource()
{
    if (ReadFile(kSource) == kText) {
        return true;
    }
    std::error_code error;
    const std::filesystem::path source(kSource), temporary(kSource + ".tmp." + std::to_string(getpid()));
    std::filesystem::create_directory(source.parent_path(), error);
    const bool isWhole = static_cast<bool>(std::ofstream(temporary, std::ios::trunc) << kText << std::flush);
    if (isWhole) {
        std::filesystem::rename(temporary, source, error);
    }
    return !std::filesystem::remove(temporary) && isWhole;
}

bool Link(const std::string& service)
{
    return ReadFile(DropIn(service)) == kText ||
           (WriteSource() && Systemd::LinkMeroReason(DropInFolder(service), kSource)) ||
           ReadFile(DropIn(service)) == kText; // another process was faster
}

/// Finds a file with the drop-in's name and other content: it has another owner, and hides a drop-in of ours.
const std::string* FindForeign(const Texts& files)
{
    const auto foreign = std::find_if(files.begin(), files.end(), [](const std::string& path) {
        return path.ends_with("/mero-reason.conf") && access(path.c_str(), F_OK) == 0;
    });
    return foreign != files.end() ? &*foreign : nullptr;
}

/// Prints one line for each service, or the number if there are many.
void Note(const Texts& services, const std::string& text)
{
    constexpr std::size_t kFew = 10;
    if (General().quiet) {
        return;
    }
    if (services.size() > kFew) {
        PrintError(std::to_string(services.size()) + " services: " + text);
        return;
    }
    for (const std::string& service : services) {
        PrintError(service + ": " + text);
    }
}

void ReadAgain()
{
    if (!MEROSystemdDaemonReload()) {
        (void)ReportFailure("daemon-reload for the drop-ins");
    }
}

} // namespace

bool LooksAtReasons(const std::string& path)
{
    std::istringstream lines(ReadFile(path));
    for (std::string line; std::getline(lines, line);) {
        if ((line.starts_with("Condition") || line.starts_with("Assert")) && line.find(kReasons) != line.npos) {
            return true;
        }
    }
    return false;
}

bool ProtectHeld(std::vector<HeldService>& services)
{
    const std::string unprotected = ": its reasons do not keep it from starting: ";
    std::vector<HeldService> held;
    Texts added;
    bool done = true;
    for (HeldService& service : services) {
        const bool isHeld = std::any_of(service.files.begin(), service.files.end(), LooksAtReasons);
        const std::string* foreign = isHeld ? nullptr : FindForeign(service.files);
        if (foreign != nullptr) {
            PrintError(service.name + unprotected + *foreign + " is not ours");
        } else if (!isHeld && !Link(service.name)) {
            PrintError(service.name + unprotected + DropIn(service.name) + " cannot be made");
            done = false;
        } else {
            if (!isHeld) {
                added.push_back(service.name);
                service.files.push_back(DropIn(service.name));
            }
            held.push_back(std::move(service));
        }
    }
    services = held;
    if (!added.empty()) {
        ReadAgain();
    }
    Note(added, "a drop-in keeps it from starting until its last reason is gone");
    return done;
}

void UnprotectReleased(const Texts& services)
{
    Texts removed;
    bool isChanged = false;
    for (const std::string& service : services) {
        const std::string name = ServiceName(service), path = DropIn(name);
        if (Systemd::CheckServiceHasReason(name) || ReadFile(path) != kText || unlink(path.c_str()) != 0) {
            continue;
        }
        isChanged = true;
        (void)rmdir(DropInFolder(name).c_str()); // stays when it holds other drop-ins
        if (Systemd::CheckServiceHasReason(name)) {
            (void)Link(name); // another process has just given it one
        } else {
            removed.push_back(name);
        }
    }
    if (isChanged) {
        ReadAgain();
    }
    Note(removed, "the drop-in that kept it from starting is gone");
}

} // namespace MERO::Tool
