#include "output/output.h"

#include "output/terminal.h"
#include "output/text_width.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <numeric>

namespace MERO::Tool {

namespace {

bool hasHeadings = true;

/// Shortens the last column, and then always the widest, until a line fits into `room`.
void Narrow(std::vector<std::size_t>& widths, std::size_t room)
{
    constexpr std::size_t kLeastOfLast = 12; // enough for a figure
    std::size_t total = 2 * (widths.size() - 1);
    total = std::accumulate(widths.begin(), widths.end(), total);
    std::size_t excess = total > room ? total - room : 0;
    const std::size_t spare = widths.back() > kLeastOfLast ? std::min(widths.back() - kLeastOfLast, excess) : 0;
    widths.back() -= spare;
    for (excess -= spare; excess > 0; --excess) {
        std::size_t& widest = *std::max_element(widths.begin(), widths.end());
        widest -= widest > 1 ? 1 : 0;
    }
}

bool IsRemark(const Texts& row)
{
    return row.size() == 1;
}

void PrintRows(const std::vector<Texts>& rows, std::size_t first, const std::map<std::size_t, Paint>& paints)
{
    std::vector<std::size_t> widths(rows.front().size());
    for (std::size_t row = first; row < rows.size(); ++row) {
        for (std::size_t i = 0; i < rows[row].size() && !IsRemark(rows[row]); ++i) {
            widths[i] = std::max(widths[i], WidthOf(rows[row][i]));
        }
    }
    if (isatty(STDOUT_FILENO) == 1) {
        Narrow(widths, TerminalWidth(STDOUT_FILENO));
    }
    for (std::size_t row = first; row < rows.size(); ++row) {
        const Texts& cells = rows[row];
        if (IsRemark(cells)) {
            std::cout << cells.front() << '\n';
            continue;
        }
        for (std::size_t i = 0; i < cells.size(); ++i) {
            const std::string cell = Shorten(cells[i], widths[i]);
            const auto paint = paints.find(i);
            std::cout << (paint != paints.end() ? Coloured(cell, paint->second(cells[i])) : cell);
            std::cout << (i + 1 < cells.size() ? std::string(widths[i] + 2 - WidthOf(cell), ' ') : "\n");
        }
    }
}

} // namespace

void PrintTable(const std::vector<Texts>& rows, const std::map<std::size_t, Paint>& paints)
{
    PrintRows(rows, hasHeadings ? 0 : 1, paints);
}

void PrintFields(const std::vector<Texts>& rows)
{
    PrintRows(rows, 0, {});
}

void SetLegend(bool hasLegend)
{
    hasHeadings = hasLegend;
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

void PrintJson(const Json::Value& value, Spread spread)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = spread == Spread::OneLine ? "" : "  ";
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

void PrintText(const std::string& text, bool json)
{
    if (json) {
        PrintJson(text);
    } else {
        std::cout << text << '\n';
    }
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

} // namespace MERO::Tool
