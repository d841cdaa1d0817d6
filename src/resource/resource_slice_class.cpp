#include "core/directory_entries.h"
#include "core/errors.h"
#include "core/names.h"
#include "core/text_reader.h"
#include "platform/core/owners.h"
#include "resource/cgroup_layout.h"
#include "resource/slice_cgroup.h"

#include <merosystemd/resource.hpp>
#include <merosystemd/systemd.hpp>

#include <fcntl.h>

#include <algorithm>
#include <charconv>
#include <exception>

namespace MERO::Systemd {
namespace {

/// Adds the task IDs from a cgroup's tasks file, one on each line. Skips a line that is no number.
void AddTasks(std::string_view text, std::set<int>& tasks)
{
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        int task = 0;
        if (std::from_chars(text.data(), text.data() + end, task).ec == std::errc()) {
            tasks.insert(task);
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

/// Gets the tasks of a slice in the monitor's hierarchy and of the cgroups one level below it.
bool MonitorTasks(const std::string& slice, TextReader& reader, std::set<int>& tasks)
{
    const std::string path = "/sys/fs/cgroup/meromonitor/" + slice;
    const Descriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto own = reader.Read(folder.Get(), "tasks");
    if (!own) {
        return false;
    }
    AddTasks(*own, tasks);
    DirectoryNames().ForEach(folder.Get(), [&](std::string_view name) {
        const auto text = reader.Read(folder.Get(), (std::string(name) + "/tasks").c_str());
        AddTasks(text.value_or(std::string_view()), tasks); // plain files have no tasks
        return true;
    });
    return true;
}

/// Gets the processes of a slice in systemd's hierarchy and of all cgroups below it.
bool SystemdTasks(const std::string& slice, std::set<int>& tasks)
{
    return WithoutExceptions(MERO_HERE, [&] {
        return ForEachProcessOfSlice(slice, [&](std::string_view lines) { AddTasks(lines, tasks); });
    });
}

/// Whether a task is a process. Counting its other threads would count what it uses again.
bool IsProcess(int task, TextReader& reader)
{
    const auto status = reader.Read(AT_FDCWD, ("/proc/" + std::to_string(task) + "/status").c_str());
    return status && status->find("\nTgid:\t" + std::to_string(task) + "\n") != status->npos;
}

} // namespace

bool Slice::ProcessList(const std::string& unitName, std::set<Process>& processes)
{
    if (!IsSliceName(unitName)) {
        return false;
    }
    TextReader reader;
    std::set<int> tasks;
    if (!(TracksSystemdSlices() ? SystemdTasks(unitName, tasks) : MonitorTasks(unitName, reader, tasks))) {
        return false;
    }
    for (const int task : tasks) {
        try {
            if (IsProcess(task, reader)) {
                processes.insert(Process(task, reader));
            }
        } catch (const std::exception&) {
            // It has ended.
        }
    }
    return true;
}

Slice::Slice(const std::string& unitName) : unitName_(unitName)
{
    const bool hasName = MEROSystemdNameGet(unitName, name_);
    const bool hasNameI18n = MEROSystemdNameI18nGet(unitName, nameI18n_);
    if (!hasName && !hasNameI18n) {
        throw std::exception();
    }
    if (MEROSystemdIconGet(unitName, icon_)) {
        (void)ProcessList(unitName, processes_); // none if it is not tracked
    }
}

} // namespace MERO::Systemd
