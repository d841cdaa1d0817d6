#include "usage/usage_report.h"

#include "output/amounts.h"

namespace MERO::Tool {
namespace {

Texts Row(const std::string& pid, const std::string& name, const ProcessUsage& usage)
{
    return {pid,
            name,
            SecondsText(usage.cpuSeconds),
            PercentText(usage.cpuShare),
            MemoryText(usage.memory),
            RateText(usage.readRate),
            RateText(usage.writeRate)};
}

Json::Value UsageToJson(const ProcessUsage& usage)
{
    Json::Value object(Json::objectValue);
    object["cpuSeconds"] = usage.cpuSeconds;
    object["cpuPercent"] = usage.cpuShare * 100;
    object["memoryKB"] = Json::UInt64(usage.memory);
    object["readBytesPerSecond"] = usage.readRate;
    object["writeBytesPerSecond"] = usage.writeRate;
    return object;
}

} // namespace

std::vector<Texts> UsageRows(const std::vector<ProcessUsage>& processes)
{
    std::vector<Texts> rows{{"PID", "NAME", "CPU SECONDS", "CPU", "MEMORY", "INPUT", "OUTPUT"}};
    for (const ProcessUsage& process : processes) {
        rows.push_back(Row(std::to_string(process.pid), process.name, process));
    }
    return rows;
}

Texts TotalRow(const std::vector<ProcessUsage>& processes)
{
    const std::string count = std::to_string(processes.size()) + (processes.size() == 1 ? " process" : " processes");
    return Row("total", count, TotalOf(processes));
}

void PrintUsage(std::vector<Texts> rows)
{
    AlignRight(rows, 2, 6);
    PrintTable(rows);
}

Json::Value ToJson(const ProcessUsage& process)
{
    Json::Value object = UsageToJson(process);
    object["pid"] = process.pid;
    object["name"] = process.name;
    return object;
}

Json::Value TotalToJson(const std::vector<ProcessUsage>& processes)
{
    return UsageToJson(TotalOf(processes));
}

} // namespace MERO::Tool
