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

/// What a running process had used when the object was made, read from /proc; see proc(5) for the files.
///
/// Reading the memory sums up /proc/PID/smaps, during which the kernel locks the process' memory map: the process
/// waits when it maps or unmaps memory meanwhile. Different objects may be used by threads at once.
class Process {
public:
    /// Takes the snapshot. Throws std::exception when a file cannot be read: the process has ended, is the kernel's
    /// own, or its executable has been deleted.
    explicit Process(int pid);
    /** @{ */
    /// The same snapshot once more.
    Process(const Process&) = default;
    Process(const Process&& other) : Process(other) {}
    Process& operator=(const Process&) = default;
    /** @} */

    /// By process ID: two snapshots of one process are equal.
    bool operator<(const Process& other) const { return pid_ < other.pid_; }

    int PidGet() const { return pid_; } ///< the process ID

    /// The name of the executable's file; of the interpreter "meroscgi", that of the script it runs.
    std::string NameGet() const { return name_; }

    /// Processor time, of user and kernel, since the process began: seconds.
    double CPUTimeGet() const;

    /// Memory in kB, shared pages counted in parts (Pss).
    std::uint64_t MemoryPssGet() const { return pss_; }

    /// The share of the whole machine's processor time since the snapshot: 0 to 1, all processors together. Reads the
    /// process again; 0 when it has ended, and when no time has passed, which is logged.
    double CPUUtilizationGet() const;

    /// Bytes per second read from and written to storage since the snapshot. Reads the process again; 0 when it has
    /// ended.
    std::pair<double, double> IOUtilizationGet() const;

    /** @{ */
    /// What the snapshot reads, one by one: ticks of sysconf(_SC_CLK_TCK), those of all processors with the idle ones
    /// included; kB; and bytes. False when it cannot be read.
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

/// A slice with its processes at the time when the object was made: those that the resource monitor tracks.
class Slice {
public:
    /// Takes any unit that has a name or a translated name, and throws std::exception for one that has neither. A unit
    /// that is no slice, or is not tracked, has no processes; one without an icon's keys has an empty icon.
    explicit Slice(const std::string& unitName);
    /** @{ */
    /// The same once more.
    Slice(const Slice&) = default;
    Slice(const Slice&& other) : Slice(other) {}
    Slice& operator=(const Slice&) = default;
    /** @} */

    std::string UnitNameGet() const { return unitName_; }         ///< as it was given
    std::string NameGet() const { return name_; }                 ///< key "Name"; empty without it
    std::string NameI18nGet() const { return nameI18n_; }         ///< key "NameI18n"; empty without it
    Icon IconGet() const { return icon_; }                        ///< of the unit
    std::set<Process> ProcessesGet() const { return processes_; } ///< ordered by process ID

    /// Adds the processes of a slice in the monitor's hierarchy and in the cgroups one level below it. Where systemd's
    /// slices are accounted (see "Cgroups"), adds those of the slice and of all cgroups below it. Those that end
    /// meanwhile are left out. False when there is no such slice.
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

/// How far the killing of a slice is.
enum class KillPhase {
    StoppingUnits, ///< systemd stops the slice's units
    Terminating,   ///< SIGTERM goes to what is left
    Waiting,       ///< for that to end
    Killing        ///< SIGKILL goes to what has not
};

} // namespace MERO::Systemd

/// @ingroup metadata
/// The icon of a unit. False (0x0700) when it has no file, and for an empty name (0x0D00).
bool MEROSystemdIconGet(std::string strUnit, MERO::Systemd::Icon& icon);

/// @ingroup cgroups
/// Appends the slices that the resource monitor tracks; systemd's where those are accounted. False when there are none.
bool MEROSystemdSliceList(std::vector<std::string>& slices);

/// @ingroup cgroups
/// Ends all that runs in a slice: stops its units, sends SIGTERM to what is left, waits until it has ended (as many
/// seconds as the slice's key "SliceKillTimeoutSec" says, 10 without it), and sends SIGKILL. Units and processes of
/// slices below it count. True when nothing runs there any more, and when SIGKILL has been sent, whose effect is not
/// waited for. A name that is no slice's is an invalid argument (0x0D00). Processes are looked for in systemd's
/// hierarchy; where it is not mounted, and /proc shows a process in the slice or cannot be read, nothing is done and
/// the result is false. A slice that holds the calling process is killed as well, after a warning in the log.
bool MEROSystemdKillSlice(const std::string& strSlice);

/// @ingroup cgroups
/// The same; calls `progress`, in this thread, as each phase begins.
bool MEROSystemdKillSlice(const std::string& strSlice, const std::function<void(MERO::Systemd::KillPhase)>& progress);

#pragma GCC visibility pop
