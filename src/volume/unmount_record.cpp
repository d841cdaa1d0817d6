#include "volume/unmount_record.h"

#include "core/directory_walk.h"
#include "core/errors.h"
#include "core/json_file.h"
#include "core/text.h"
#include "core/text_reader.h"
#include "unit/unit_properties.h"

#include <merocore/process.h>
#include <merosystemd/systemd.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <set>

namespace MERO::Systemd {
namespace {

constexpr const char* kFolder = "/run/merosystemd/";
constexpr const char* kName = "volume-unmount.json";
constexpr const char* kTemporary = "volume-unmount.json.tmp";
constexpr std::size_t kStartTime = 19; // the field's index in /proc/PID/stat, counted after the name: see proc(5)

/// Returns when the process started, in ticks since boot; empty if it is gone. ID and start time identify a process.
std::string StartTimeOf(pid_t pid)
{
    TextReader reader;
    const std::string path = "/proc/" + std::to_string(pid) + "/stat";
    const std::string text(reader.Read(AT_FDCWD, path.c_str()).value_or(""));
    Texts fields;
    (void)Split(text.substr(text.rfind(')') + 1), fields, " ");
    return fields.size() > kStartTime ? fields[kStartTime] : std::string();
}

Json::Value ProcessToJson(pid_t pid)
{
    Json::Value process(Json::objectValue);
    process["pid"] = pid;
    process["started"] = StartTimeOf(pid);
    return process;
}

/// Whether the process runs. A zombie does not.
bool IsThere(const Json::Value& process)
{
    const pid_t pid = process["pid"].asInt();
    const std::string started = process["started"].asString();
    return !started.empty() && MLIBCProcAlive(pid) == 1 && StartTimeOf(pid) == started;
}

Json::Value TextsToJson(const Texts& texts)
{
    Json::Value array(Json::arrayValue);
    for (const std::string& text : texts) {
        array.append(text);
    }
    return array;
}

Texts TextsFromJson(const Json::Value& array)
{
    Texts texts;
    for (const Json::Value& text : array) {
        texts.push_back(text.asString());
    }
    return texts;
}

Json::Value ToJson(const UnmountRecord& record)
{
    Json::Value value(Json::objectValue);
    value["volumes"] = TextsToJson(record.volumes);
    value["services"] = TextsToJson(record.services);
    value["units"] = TextsToJson(record.units);
    value["since"] = static_cast<Json::Int64>(record.since);
    value["caller"] = ProcessToJson(record.caller);
    value["watcher"] = ProcessToJson(record.watcher);
    return value;
}

bool WriteWhole(const Json::Value& value)
{
    const Descriptor folder = MakeDirectory(kFolder);
    if (!folder || (unlinkat(folder.Get(), kTemporary, 0) != 0 && errno != ENOENT)) {
        return false;
    }
    const bool written =
        WriteJsonFile(folder, kTemporary, kName, value) && renameat(folder.Get(), kTemporary, folder.Get(), kName) == 0;
    if (!written) {
        const int error = errno;
        (void)unlinkat(folder.Get(), kTemporary, 0);
        errno = error;
    }
    return written;
}

} // namespace

bool UnmountRecord::Write() const
{
    bool written = false;
    try {
        written = WriteWhole(ToJson(*this));
    } catch (const std::exception&) { // out of memory
        errno = ENOMEM;
    }
    if (!written) {
        MERO_LOG(LOG_WARNING, "Cannot write [%s%s]: %m. If this process and its watcher are killed, [%s] stay stopped.",
                 kFolder, kName, Join(services).c_str());
    }
    return written;
}

void UnmountRecord::Remove()
{
    const std::string path = std::string(kFolder) + kName;
    if (unlink(path.c_str()) != 0 && errno != ENOENT) {
        MERO_LOG(LOG_ERR, "Fail to remove [%s].", path.c_str());
    }
}

bool ReadUnmountRecord(UnmountRecord& record, VolumeUnmountState::Kind& kind)
{
    kind = VolumeUnmountState::Kind::None;
    const Descriptor folder(open(kFolder, O_PATH | O_DIRECTORY | O_CLOEXEC));
    if ((!folder || faccessat(folder.Get(), kName, F_OK, AT_SYMLINK_NOFOLLOW) != 0) && errno == ENOENT) {
        return true;
    }
    try {
        Json::Value value;
        if (folder && ReadJsonFile(folder, kName, value)) {
            record = {.volumes = TextsFromJson(value["volumes"]),
                      .services = TextsFromJson(value["services"]),
                      .units = TextsFromJson(value["units"]),
                      .since = value["since"].asInt64(),
                      .caller = value["caller"]["pid"].asInt(),
                      .watcher = value["watcher"]["pid"].asInt()};
            const bool isAnyThere = IsThere(value["caller"]) || IsThere(value["watcher"]);
            kind = isAnyThere ? VolumeUnmountState::Kind::Running : VolumeUnmountState::Kind::Interrupted;
            return true;
        }
        if (faccessat(folder.Get(), kName, F_OK, AT_SYMLINK_NOFOLLOW) != 0 && errno == ENOENT) {
            return true; // it was removed just now
        }
    } catch (const Json::Exception&) { // not a file that we wrote
    }
    MERO_LOG(LOG_ERR, "Cannot read [%s%s].", kFolder, kName);
    SetError(MERO_HERE, MLIBC_ERR_OPEN_FILE);
    return false;
}

void LeaveOutHeldOrGone(UnmountRecord& record)
{
    if (record.units.empty()) {
        return;
    }
    auto shown = ShowUnits(record.units, {"Names", "LoadState"}).value_or(std::vector<UnitProperties>());
    std::set<std::string> left;
    for (UnitProperties& unit : shown) {
        const Texts names = ItemsOf(unit["Names"]);
        const bool isHeld = std::any_of(names.begin(), names.end(), CheckServiceHasReason);
        if (isHeld || unit["LoadState"] != "loaded") {
            MERO_LOG(LOG_WARNING, "[%s] is not started again: %s.", unit["Names"].c_str(),
                     isHeld ? "a reason holds it" : "systemd cannot load it");
            left.insert(names.begin(), names.end());
        }
    }
    for (Texts* units : {&record.services, &record.units}) {
        std::erase_if(*units, [&](const std::string& unit) { return left.contains(unit); });
    }
}

} // namespace MERO::Systemd
