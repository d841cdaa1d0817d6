#pragma once

#include <string>

namespace MERO::Bench {

/// Makes the library find a machine that has booted, with the systemctl of the sandbox' systemd. Runs inside
/// mero-sandbox, as all of this does: ends the program when something cannot be brought about.
void SetUpMachine();

/// Writes a unit file; systemd knows it after LoadUnits.
void WriteUnit(const std::string& name, const std::string& text);

void LoadUnits();

void StartUnit(const std::string& name);

/// Writes a file, whose folders are made if need be.
void WriteText(const std::string& path, const std::string& text);

} // namespace MERO::Bench
