#pragma once

#include <string>
#include <vector>

/// A register of volumes: a file that holds one JSON array of mount paths. What else the array holds is kept.
/// `directory` ends with "/".
namespace MERO::Systemd {

/// Appends the volume unless it is there. Makes the folder.
bool AddVolume(const std::string& directory, const std::string& fileName, const std::string& volume);

/// Takes the volume out, and writes the file whether it was there or not.
bool RemoveVolume(const std::string& directory, const std::string& fileName, const std::string& volume);

/// The volumes in a register, in its order. A file that does not exist holds none.
bool ReadVolumes(const std::string& path, std::vector<std::string>& volumes);

/// Whether one of the volumes is registered; false, too, when the file cannot be read.
bool IsAnyVolumeRegistered(const std::string& path, const std::vector<std::string>& volumes);

// Where the registers are. The names must be checked by IsFileName.
inline constexpr const char* kUnitRegisterDirectory = "/usr/mero/etc/merosystemd/volume-register/";
inline constexpr const char* kPackagesDirectory = "/var/packages/";
inline constexpr const char* kPackageRegister = "reg_volume";
inline const std::string kTemporaryInfix = ".tmp."; ///< between a register's name and a writer's process ID
std::string PackageRegisterDirectory(const std::string& package);

} // namespace MERO::Systemd
