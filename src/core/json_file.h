#pragma once

#include "platform/core/owners.h"

#include <json/value.h>

#include <string>

namespace MERO::Systemd {

// Names are relative to an open folder.

/// Parses a file that holds one JSON document, at most 16 MiB long. A symbolic link is no such file.
bool ReadJsonFile(const Descriptor& folder, const std::string& name, Json::Value& value);

/// Makes the file anew with one JSON document, which is on the disk when this returns true. The file must not exist;
/// its owner and mode are those of the file `like`, if there is one. Throws std::exception when out of memory.
bool WriteJsonFile(const Descriptor& folder, const std::string& name, const std::string& like,
                   const Json::Value& value);

} // namespace MERO::Systemd
