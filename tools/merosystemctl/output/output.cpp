#include "output/output.h"

#include "output/text_width.h"

#include <algorithm>
#include <iostream>

namespace MERO::Tool {

void PrintTable(const std::vector<Texts>& rows)
{
    std::vector<std::size_t> widths;
    for (const Texts& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], WidthOf(row[i]));
        }
    }
    for (const Texts& row : rows) {
        for (std::size_t i = 0; i + 1 < row.size(); ++i) {
            std::cout << row[i] << std::string(widths[i] + 2 - WidthOf(row[i]), ' ');
        }
        std::cout << (row.empty() ? "" : row.back()) << '\n';
    }
}

void AlignRight(std::vector<Texts>& rows, std::size_t firstColumn, std::size_t lastColumn)
{
    for (std::size_t column = firstColumn; column <= lastColumn; ++column) {
        std::size_t width = 0;
        for (const Texts& row : rows) {
            width = std::max(width, row[column].size());
        }
        for (Texts& row : rows) {
            row[column].insert(0, width - row[column].size(), ' ');
        }
    }
}

void PrintJson(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    builder["emitUTF8"] = true;
    builder["precisionType"] = "decimal";
    builder["precision"] = 3;
    std::cout << Json::writeString(builder, value) << '\n';
}

Json::Value ToJson(const Texts& texts)
{
    Json::Value list(Json::arrayValue);
    for (const std::string& text : texts) {
        list.append(text);
    }
    return list;
}

std::string ToCell(const Texts& texts)
{
    std::string cell;
    for (const std::string& text : texts) {
        cell.append(cell.empty() ? "" : " ").append(text);
    }
    return cell.empty() ? "-" : cell;
}

void PrintError(const std::string& message)
{
    std::cerr << "merosystemctl: " << message << '\n';
}

int ReportFailure(const std::string& what)
{
    PrintError(what + " failed");
    PrintError("the reason is in the log: journalctl -t merosystemctl");
    return kFailed;
}

int ReportUnits(bool done, const std::string& verb, Texts failed)
{
    if (done) {
        return kDone;
    }
    std::sort(failed.begin(), failed.end());
    failed.erase(std::unique(failed.begin(), failed.end()), failed.end());
    if (failed.empty()) {
        return ReportFailure(verb);
    }
    for (auto unit = failed.begin(); unit + 1 != failed.end(); ++unit) {
        PrintError(*unit + ": " + verb + " failed");
    }
    return ReportFailure(failed.back() + ": " + verb);
}

} // namespace MERO::Tool
