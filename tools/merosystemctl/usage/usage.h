#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace MERO::Tool {

using Clock = std::chrono::steady_clock;

/// What a process has used since it began.
struct ProcessReading {
    int pid = 0;
    std::string name;
    double cpuSeconds = 0;
    std::uint64_t memory = 0; ///< kB
    std::uint64_t readBytes = 0;
    std::uint64_t writtenBytes = 0;
};

/// What processes had used at a time: those of a slice, when it has a name.
struct Reading {
    std::string slice;
    Clock::time_point time;
    std::vector<ProcessReading> processes;
};

/// False when the process has ended or may not be read.
bool ReadProcess(int pid, ProcessReading& reading);

/// False when the slice is not tracked.
bool ReadSlice(const std::string& unit, Reading& reading);

/// The same processes now, those that have ended left out. Their memory is what it was then: reading that costs most.
Reading ReadAgain(const Reading& before);

/// What a process used between two readings.
struct ProcessUsage : ProcessReading { ///< the later one
    double cpuShare = 0;               ///< of the whole machine: 0 to 1
    double readRate = 0;               ///< bytes per second
    double writeRate = 0;
};

/// Of a process that is not in the earlier reading, no share and no rates are known.
std::vector<ProcessUsage> UsageBetween(const Reading& before, const Reading& after, double processors);

/// All of it together. It has no name and the process ID 0.
ProcessUsage TotalOf(const std::vector<ProcessUsage>& processes);

enum class Order { Cpu, Memory, Input, Output, Pid, Name };

/// As the command line and the screen call them.
constexpr std::pair<Order, const char*> kOrders[] = {{Order::Cpu, "cpu"},     {Order::Memory, "memory"},
                                                     {Order::Input, "input"}, {Order::Output, "output"},
                                                     {Order::Pid, "pid"},     {Order::Name, "name"}};

/// Whether `one` comes before `other`: the greater first, but for IDs and names. Of two that are alike neither does.
bool ComesBefore(const ProcessUsage& one, const ProcessUsage& other, Order order);

/// The greatest first; what has the same CPU share by memory, and the other way round.
void Sort(std::vector<ProcessUsage>& processes, Order order);

struct Machine {
    double processors;
    double memory; ///< kB
};

Machine ThisMachine();

} // namespace MERO::Tool
