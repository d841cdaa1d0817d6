#include "output.h"

#include <algorithm>
#include <iomanip>
#include <iostream>

namespace MERO::Tool {

void PrintTable(const std::vector<std::vector<std::string>>& rows)
{
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    for (const auto& row : rows) {
        for (std::size_t i = 0; i + 1 < row.size(); ++i) {
            std::cout << std::left << std::setw(static_cast<int>(widths[i]) + 2) << row[i];
        }
        std::cout << (row.empty() ? "" : row.back()) << '\n';
    }
}

void PrintJson(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    builder["emitUTF8"] = true;
    std::cout << Json::writeString(builder, value) << '\n';
}

void PrintError(const std::string& message)
{
    std::cerr << "merosystemctl: " << message << '\n';
}

} // namespace MERO::Tool
