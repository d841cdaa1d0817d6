#pragma once

#include "platform/core/owners.h"

#include <string>

/// Ways to folders that nobody but root and the caller can bend.
///
/// A way is walked one folder at a time, by descriptors. A symbolic link is followed while everything on the way so far
/// can be changed by root and the caller alone. Below a folder that others can write (it belongs to somebody else, or
/// has write bits for group or others, sticky or not) no link is followed, whoever made it: between two calls it could
/// have taken the place of anything.
namespace MERO::Systemd {

enum class IfMissing { Fail, Make };

struct DirectoryWalk {
    Descriptor directory;   ///< of the folder (O_PATH); none when the way does not lead to one
    int error = 0;          ///< then the errno
    bool isShared = false;  ///< others can write to a folder that holds a part of the way
    bool isRefused = false; ///< a link lies where none is followed: logged, error register 0x0D00
};

/// Walks to a folder. Those that are missing on the way are made on demand, with mode 0755 less the umask.
DirectoryWalk WalkToDirectory(const std::string& path, IfMissing ifMissing);

/// Makes a folder and its missing parents, and lets the program mkdir have its look at them: the folder (O_PATH), or
/// none, with the error register set, when that fails or the way there is refused. What is made has mode 0755 less the
/// umask.
Descriptor MakeDirectory(const std::string& directory);

} // namespace MERO::Systemd
