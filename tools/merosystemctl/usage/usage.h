#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace MERO::Tool {

using Clock = std::chrono::steady_clock;

/// The usage of a process since it started.
struct ProcessReading {
    int pid = 0;
    std::string name;
    double cpuSeconds = 0;
    std::uint64_t memory = 0; ///< kB
    std::uint64_t readBytes = 0;
    std::uint64_t writtenBytes = 0;
};

/// The usage of processes at a time. `slice` is empty if they are not a slice's.
struct Reading {
    std::string slice;
    Clock::time_point time;
    std::vector<ProcessReading> processes;
};

/// Returns false if the process has ended or may not be read.
bool ReadProcess(int pid, ProcessReading& reading);

/// Returns false if the slice is not tracked.
bool ReadSlice(const std::string& unit, Reading& reading);

/// Reads the same processes again, without those that have ended. Memory is copied from the earlier reading: it costs
/// most to read.
Reading ReadAgain(const Reading& before);

/// The usage of a process between two readings.
struct ProcessUsage : ProcessReading { ///< the later one
    double cpuShare = 0;               ///< of the whole machine: 0 to 1
    double readRate = 0;               ///< bytes per second
    double writeRate = 0;
};

/// A process that is missing in the earlier reading gets no share and no rates.
std::vector<ProcessUsage> UsageBetween(const Reading& before, const Reading& after, double processors);

/// The sum of all processes. It has no name and process ID 0.
ProcessUsage TotalOf(const std::vector<ProcessUsage>& processes);

enum class Order { Cpu, Memory, Input, Output, Pid, Name };

/// Their names on the command line and the screen.
constexpr std::pair<Order, const char*> kOrders[] = {{Order::Cpu, "cpu"},     {Order::Memory, "memory"},
                                                     {Order::Input, "input"}, {Order::Output, "output"},
                                                     {Order::Pid, "pid"},     {Order::Name, "name"}};

/// Whether `one` comes before `other`: larger values first, but IDs and names ascending. False for equals.
bool ComesBefore(const ProcessUsage& one, const ProcessUsage& other, Order order);

/// Sorts the greatest first; equal CPU shares by memory, and equal memory by CPU share.
void Sort(std::vector<ProcessUsage>& processes, Order order);

struct Machine {
    double processors;
    double memory; ///< kB
};

Machine ThisMachine();

} // namespace MERO::Tool
