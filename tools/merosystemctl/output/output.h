#pragma once

#include "output/colour.h"
#include "output/exit_code.h"

#include <json/json.h>

#include <map>
#include <string>
#include <vector>

namespace MERO::Tool {

using Texts = std::vector<std::string>;

using Paint = Colour (*)(const std::string& cell);

/// Prints columns as wide as their widest cell, two blanks apart, and colours the cells of the columns in `paints`. The
/// first row is the heading. A row of one cell is a remark about the row above, and printed whole; on a terminal, other
/// cells are shortened until the line fits.
void PrintTable(const std::vector<Texts>& rows, const std::map<std::size_t, Paint>& paints = {});

/// Prints names and their values the same way, without a heading.
void PrintFields(const std::vector<Texts>& rows);

/// Switches table headings on or off; they are on by default.
void SetLegend(bool hasLegend);

/// Pads the cells of these columns on the left, so that their numbers line up.
void AlignRight(std::vector<Texts>& rows, std::size_t firstColumn, std::size_t lastColumn);

enum class Spread { Indented, OneLine };

void PrintJson(const Json::Value& value, Spread spread = Spread::Indented);
Json::Value ToJson(const Texts& texts);

/// Prints a text as a line or as a JSON string.
void PrintText(const std::string& text, bool json);

/// Joins the texts with blanks; "-" if there are none.
std::string ToCell(const Texts& texts);

/// Prints "merosystemctl: <message>" on standard error.
void PrintError(const std::string& message);

} // namespace MERO::Tool
