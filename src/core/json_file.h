#pragma once

#include "platform/core/owners.h"

#include <json/value.h>

#include <string>

namespace MERO::Systemd {

// File names are relative to an open folder.

/// Parses a regular file that holds one JSON document of at most 16 MiB. Refuses a symbolic link.
bool ReadJsonFile(const Descriptor& folder, const std::string& name, Json::Value& value);

/// Creates the file, which must not exist, with one JSON document, and writes it through to the disk. Its owner and
/// mode are those of the file `like`, if that exists. Throws std::exception if memory runs out.
bool WriteJsonFile(const Descriptor& folder, const std::string& name, const std::string& like,
                   const Json::Value& value);

} // namespace MERO::Systemd
