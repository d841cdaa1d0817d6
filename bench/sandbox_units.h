#pragma once

#include <string>

namespace MERO::Bench {

/// Makes this look like a machine that has booted, with the systemctl of the sandbox's systemd. Runs inside
/// mero-sandbox, like all functions here: exits on failure.
void SetUpMachine();

/// Writes a unit file. systemd knows it after LoadUnits().
void WriteUnit(const std::string& name, const std::string& text);

void LoadUnits();

void StartUnit(const std::string& name);

/// Writes a file; creates its folders if needed.
void WriteText(const std::string& path, const std::string& text);

} // namespace MERO::Bench
