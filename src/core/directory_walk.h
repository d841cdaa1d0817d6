#pragma once

#include "platform/core/owners.h"

#include <string>

/// Opens folders by path so that nobody except root and the caller can redirect the path.
///
/// The walk goes one folder at a time, by descriptors. It follows a symbolic link only if root and the caller alone can
/// change everything on the path so far. Below a folder that others can write to (it belongs to somebody else, or has
/// write bits for group or others, sticky or not) it follows no link, whoever made it: anybody could have put the link
/// there between two calls.
namespace MERO::Systemd {

enum class IfMissing { Fail, Make };

struct DirectoryWalk {
    Descriptor directory;   ///< the folder (O_PATH); empty on failure
    int error = 0;          ///< the errno on failure
    bool isShared = false;  ///< others can write to a folder on the path
    bool isRefused = false; ///< a link where none is followed: logged, error register 0x0D00
};

/// Walks to a folder. IfMissing::Make makes the missing folders on the path, with mode 0755 less the umask.
DirectoryWalk WalkToDirectory(const std::string& path, IfMissing ifMissing);

/// Makes a folder and its missing parents, with mode 0755 less the umask, and runs the program mkdir on them too.
/// Returns the folder (O_PATH); none, with the error register set, if that fails or the path is refused.
Descriptor MakeDirectory(const std::string& directory);

} // namespace MERO::Systemd
