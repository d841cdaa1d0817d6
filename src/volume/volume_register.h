#pragma once

#include <string>
#include <vector>

/// A volume register: a file with one JSON array of mount paths. Other elements of the array are kept. `directory` ends
/// with "/".
namespace MERO::Systemd {

/// Adds the volume if it is not registered yet. Makes the folder.
bool AddVolume(const std::string& directory, const std::string& fileName, const std::string& volume);

/// Removes the volume. Writes the file even if the volume was not registered.
bool RemoveVolume(const std::string& directory, const std::string& fileName, const std::string& volume);

/// Gets the volumes of a register, in its order. A missing file counts as empty.
bool ReadVolumes(const std::string& path, std::vector<std::string>& volumes);

/// Whether one of the volumes is registered; false also if the file cannot be read.
bool IsAnyVolumeRegistered(const std::string& path, const std::vector<std::string>& volumes);

// Where the registers are. Callers must check names with IsFileName first.
inline constexpr const char* kUnitRegisterDirectory = "/usr/mero/etc/merosystemd/volume-register/";
inline constexpr const char* kPackagesDirectory = "/var/packages/";
inline constexpr const char* kPackageRegister = "reg_volume";
inline const std::string kTemporaryInfix = ".tmp."; ///< between a register's name and a writer's process ID
std::string PackageRegisterDirectory(const std::string& package);

} // namespace MERO::Systemd
