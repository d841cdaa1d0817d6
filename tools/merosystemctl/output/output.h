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

/// Prints columns as wide as their widest cell, with two blanks between, those of some columns in colours. The first
/// row is the heading. A row of one cell is a remark to the one above, and printed whole; on a terminal other cells are
/// shortened so that no line is wider than it.
void PrintTable(const std::vector<Texts>& rows, const std::map<std::size_t, Paint>& paints = {});

/// Prints names and their values in the same way. There is no heading.
void PrintFields(const std::vector<Texts>& rows);

/// Whether tables have headings; they do unless this is called.
void SetLegend(bool hasLegend);

/// Fills the cells of these columns up on the left, so that their numbers are aligned.
void AlignRight(std::vector<Texts>& rows, std::size_t firstColumn, std::size_t lastColumn);

enum class Spread { Indented, OneLine };

void PrintJson(const Json::Value& value, Spread spread = Spread::Indented);
Json::Value ToJson(const Texts& texts);

/// One text that was asked for: a line, or a JSON string.
void PrintText(const std::string& text, bool json);

/// The texts with one blank between; "-" for none.
std::string ToCell(const Texts& texts);

/// "merosystemctl: <message>" on standard error.
void PrintError(const std::string& message);

} // namespace MERO::Tool
