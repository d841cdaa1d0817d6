#pragma once

#include <json/json.h>

#include <string>
#include <vector>

namespace MERO::Tool {

/// Prints columns as wide as their widest cell, with two blanks between.
void PrintTable(const std::vector<std::vector<std::string>>& rows);

void PrintJson(const Json::Value& value);

/// "merosystemctl: <message>" on standard error.
void PrintError(const std::string& message);

} // namespace MERO::Tool
