#pragma once

#include "output/exit_code.h"

#include <json/json.h>

#include <string>
#include <vector>

namespace MERO::Tool {

using Texts = std::vector<std::string>;

/// Prints columns as wide as their widest cell, with two blanks between.
void PrintTable(const std::vector<Texts>& rows);

/// Fills the cells of these columns up on the left, so that their numbers stand below each other.
void AlignRight(std::vector<Texts>& rows, std::size_t firstColumn, std::size_t lastColumn);

void PrintJson(const Json::Value& value);
Json::Value ToJson(const Texts& texts);

/// The texts with one blank between; "-" for none.
std::string ToCell(const Texts& texts);

/// "merosystemctl: <message>" on standard error.
void PrintError(const std::string& message);

/// Says that `what` failed and where the reason stands, and returns kFailed.
int ReportFailure(const std::string& what);

/// The exit code of an operation on units: when it failed, names the units that did on standard error.
int ReportUnits(bool done, const std::string& verb, Texts failed);

} // namespace MERO::Tool
