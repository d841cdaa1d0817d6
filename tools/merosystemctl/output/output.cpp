#include "output/output.h"

#include "output/text_width.h"

#include <algorithm>
#include <iostream>

namespace MERO::Tool {

void PrintTable(const std::vector<Texts>& rows, const std::map<std::size_t, Paint>& paints)
{
    std::vector<std::size_t> widths;
    for (const Texts& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], WidthOf(row[i]));
        }
    }
    for (const Texts& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            const auto paint = paints.find(i);
            std::cout << (paint != paints.end() ? Coloured(row[i], paint->second(row[i])) : row[i]);
            std::cout << (i + 1 < row.size() ? std::string(widths[i] + 2 - WidthOf(row[i]), ' ') : "\n");
        }
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
