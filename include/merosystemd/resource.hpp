/// @file
/// Processes and slices, and what they use of the machine.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#pragma GCC visibility push(default)

namespace MERO::Systemd {

class TextReader;

/// A running process's use of resources up to the time when the object was made, read from /proc (see proc(5)).
///
/// Reading the memory sums up /proc/PID/smaps; meanwhile the kernel locks the process's memory map, so that the process
/// has to wait if it maps or unmaps memory. Threads may use different objects at once. Sets no error code.
class Process {
public:
    /// Takes the snapshot. Throws std::exception if a file cannot be read: the process has ended, is a kernel thread,
    /// or its executable has been deleted.
    explicit Process(int pid);
    /** @{ */
    /// Copies the snapshot.
    Process(const Process&) = default;
    Process(const Process&& other) : Process(other) {}
    Process& operator=(const Process&) = default;
    /** @} */

    /// Compares the process IDs: two snapshots of one process are equal.
    bool operator<(const Process& other) const { return pid_ < other.pid_; }

    int PidGet() const { return pid_; } ///< the process ID

    /// The file name of the executable; for the interpreter "meroscgi", that of the script it runs.
    std::string NameGet() const { return name_; }

    /// User and kernel processor time since the process began, in seconds.
    double CPUTimeGet() const;

    /// Memory in kB; shared pages count in proportion (Pss).
    std::uint64_t MemoryPssGet() const { return pss_; }

    /// The share of the whole machine's processor time since the snapshot: 0 to 1, all processors together. Reads the
    /// process again; 0 if it has ended, and if no time has passed, which is logged.
    double CPUUtilizationGet() const;

    /// Bytes per second read from and written to storage since the snapshot. Reads the process again; 0 if it has
    /// ended.
    std::pair<double, double> IOUtilizationGet() const;

    /** @{ */
    /// The values of a snapshot, one by one: ticks of sysconf(_SC_CLK_TCK); kB; bytes. TotalTickGet() counts all
    /// processors, idle ticks included. Return false if the value cannot be read.
    static bool NameGet(int pid, std::string& name);
    static bool CPUTickGet(int pid, std::uint64_t& userTicks, std::uint64_t& systemTicks);
    static bool PssGet(int pid, std::uint64_t& pss);
    static bool IOGet(int pid, std::uint64_t& readBytes, std::uint64_t& writeBytes);
    static bool TotalTickGet(std::uint64_t& totalTicks);
    /** @} */

private:
    friend class Slice;

    Process(int pid, TextReader& reader);

    std::int32_t pid_;
    std::string name_;
    std::uint64_t userTicks_ = 0;
    std::uint64_t systemTicks_ = 0;
    std::uint64_t totalTicks_ = 0;
    std::uint64_t pss_ = 0;
    std::uint64_t readBytes_ = 0;
    std::uint64_t writeBytes_ = 0;
    std::chrono::steady_clock::time_point time_;
};

/// How a user interface shows a unit: keys "IconName" and "IconPath" of its section [X-Tarvix].
struct Icon {
    std::string name; ///< of an icon of the current theme; empty without the key
    std::string path; ///< of an image file; empty without the key
};

/// A slice with its processes at the time when the object was made: those of the tracked slice of this name.
class Slice {
public:
    /// Takes any unit that has a name or a translated name; throws std::exception for a unit with neither (0x0700 if it
    /// has no file). A unit that is no tracked slice has no processes; one without the keys of an icon has an empty
    /// icon.
    explicit Slice(const std::string& unitName);
    /** @{ */
    /// Copies the object.
    Slice(const Slice&) = default;
    Slice(const Slice&& other) : Slice(other) {}
    Slice& operator=(const Slice&) = default;
    /** @} */

    std::string UnitNameGet() const { return unitName_; }         ///< as it was passed
    std::string NameGet() const { return name_; }                 ///< key "Name"; empty without the key
    std::string NameI18nGet() const { return nameI18n_; }         ///< key "NameI18n"; empty without the key
    Icon IconGet() const { return icon_; }                        ///< the unit's icon
    std::set<Process> ProcessesGet() const { return processes_; } ///< ordered by process ID

    /// Adds the processes of a slice in the monitor's hierarchy, and in the cgroups one level below it. If systemd's
    /// slices are the tracked ones (see "Cgroups"), adds the processes of the slice and of all cgroups below it.
    /// Processes that end meanwhile are left out. Returns false if there is no such slice.
    static bool ProcessList(const std::string& unitName, std::set<Process>& processes);

private:
    std::string unitName_;
    std::string name_;
    std::string nameI18n_;
    Icon icon_;
    std::set<Process> processes_;
};

} // namespace MERO::Systemd

namespace MERO::Systemd {

/// The phases of killing a slice.
enum class KillPhase {
    StoppingUnits, ///< systemd stops the slice's units
    Terminating,   ///< SIGTERM is sent to the processes that are left
    Waiting,       ///< waits for their end
    Killing        ///< SIGKILL is sent to those that have not ended
};

} // namespace MERO::Systemd

/// @ingroup metadata
/// Gets the icon of a unit. Error codes: 0x0700 if the unit has no file, 0x0D00 for an empty name.
bool MEROSystemdIconGet(std::string strUnit, MERO::Systemd::Icon& icon);

/// @ingroup cgroups
/// Appends the tracked slices. Returns false if there are none. Leaves the error register as it was.
bool MEROSystemdSliceList(std::vector<std::string>& slices);

/// @ingroup cgroups
/// Ends everything that runs in a slice: stops its units, sends SIGTERM to what is left, waits until it has ended (as
/// many seconds as the slice's key "SliceKillTimeoutSec" says, 10 without the key), and sends SIGKILL. Slices below it
/// are included. Returns true if nothing runs there any more, and if SIGKILL has been sent; it does not wait for the
/// effect of that. Processes are looked for in systemd's hierarchy. If that is not mounted, and /proc shows a process
/// in the slice or cannot be read, nothing is done and false is returned. A slice that contains the calling process is
/// killed too, after a warning in the log. Error codes: 0x0D00 for a name that is no slice's; 0x0E00.
bool MEROSystemdKillSlice(const std::string& strSlice);

/// @ingroup cgroups
/// The same; calls `progress` in this thread as each phase begins. An exception that it throws is passed on.
bool MEROSystemdKillSlice(const std::string& strSlice, const std::function<void(MERO::Systemd::KillPhase)>& progress);

#pragma GCC visibility pop
