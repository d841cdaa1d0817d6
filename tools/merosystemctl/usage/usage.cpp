#include "usage/usage.h"

#include <merosystemd/resource.hpp>

#include <unistd.h>

#include <algorithm>
#include <exception>
#include <map>
#include <set>
#include <tuple>
#include <utility>

namespace MERO::Tool {
namespace {

using Systemd::Process;

/// Returns false if the process has ended.
bool Read(const Process& process, ProcessReading& reading)
{
    reading.pid = process.PidGet();
    reading.name = process.NameGet();
    reading.cpuSeconds = process.CPUTimeGet();
    reading.memory = process.MemoryPssGet();
    return Process::IOGet(reading.pid, reading.readBytes, reading.writtenBytes);
}

/// Returns false if the process ID has been reused: a process' totals never shrink.
bool IsSameProcess(const ProcessReading& before, const ProcessReading& after)
{
    return after.cpuSeconds >= before.cpuSeconds && after.readBytes >= before.readBytes &&
           after.writtenBytes >= before.writtenBytes;
}

} // namespace

bool ReadProcess(int pid, ProcessReading& reading)
{
    try {
        return Read(Process(pid), reading);
    } catch (const std::exception&) {
        return false;
    }
}

bool ReadSlice(const std::string& unit, Reading& reading)
{
    reading = {.slice = unit, .time = Clock::now(), .processes = {}};
    std::set<Process> processes;
    if (!Systemd::Slice::ProcessList(unit, processes)) {
        return false;
    }
    for (const Process& process : processes) {
        ProcessReading entry;
        if (Read(process, entry)) {
            reading.processes.push_back(std::move(entry));
        }
    }
    return true;
}

Reading ReadAgain(const Reading& before)
{
    const auto ticksPerSecond = static_cast<double>(sysconf(_SC_CLK_TCK));
    Reading reading{.slice = before.slice, .time = Clock::now(), .processes = {}};
    for (ProcessReading process : before.processes) {
        std::uint64_t user = 0;
        std::uint64_t system = 0;
        if (Process::CPUTickGet(process.pid, user, system) &&
            Process::IOGet(process.pid, process.readBytes, process.writtenBytes)) {
            process.cpuSeconds = static_cast<double>(user + system) / ticksPerSecond;
            reading.processes.push_back(std::move(process));
        }
    }
    return reading;
}

std::vector<ProcessUsage> UsageBetween(const Reading& before, const Reading& after, double processors)
{
    std::map<int, const ProcessReading*> earlier;
    for (const ProcessReading& process : before.processes) {
        earlier[process.pid] = &process;
    }
    const double seconds = std::chrono::duration<double>(after.time - before.time).count();
    std::vector<ProcessUsage> usages;
    for (const ProcessReading& process : after.processes) {
        ProcessUsage& usage = usages.emplace_back(ProcessUsage{process});
        const auto found = earlier.find(process.pid);
        if (seconds > 0 && found != earlier.end() && IsSameProcess(*found->second, process)) {
            const ProcessReading& old = *found->second;
            usage.cpuShare = std::min((process.cpuSeconds - old.cpuSeconds) / seconds / processors, 1.0);
            usage.readRate = static_cast<double>(process.readBytes - old.readBytes) / seconds;
            usage.writeRate = static_cast<double>(process.writtenBytes - old.writtenBytes) / seconds;
        }
    }
    return usages;
}

ProcessUsage TotalOf(const std::vector<ProcessUsage>& processes)
{
    ProcessUsage total;
    for (const ProcessUsage& process : processes) {
        total.cpuSeconds += process.cpuSeconds;
        total.memory += process.memory;
        total.cpuShare += process.cpuShare;
        total.readRate += process.readRate;
        total.writeRate += process.writeRate;
    }
    total.cpuShare = std::min(total.cpuShare, 1.0);
    return total;
}

bool ComesBefore(const ProcessUsage& one, const ProcessUsage& other, Order order)
{
    switch (order) {
    case Order::Cpu:
        return std::tie(other.cpuShare, other.memory) < std::tie(one.cpuShare, one.memory);
    case Order::Memory:
        return std::tie(other.memory, other.cpuShare) < std::tie(one.memory, one.cpuShare);
    case Order::Input:
        return other.readRate < one.readRate;
    case Order::Output:
        return other.writeRate < one.writeRate;
    case Order::Name:
        return one.name < other.name;
    default:
        return one.pid < other.pid;
    }
}

void Sort(std::vector<ProcessUsage>& processes, Order order)
{
    std::sort(processes.begin(), processes.end(), [order](const ProcessUsage& one, const ProcessUsage& other) {
        const bool isFirst = ComesBefore(one, other, order);
        const bool isAlike = !isFirst && !ComesBefore(other, one, order);
        return isFirst || (isAlike && one.pid < other.pid);
    });
}

Machine ThisMachine()
{
    const double pageSize = static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
    return {.processors = static_cast<double>(sysconf(_SC_NPROCESSORS_ONLN)),
            .memory = static_cast<double>(sysconf(_SC_PHYS_PAGES)) * pageSize};
}

} // namespace MERO::Tool
