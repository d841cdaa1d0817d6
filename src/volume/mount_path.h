#pragma once

#include "volume/text_table.h"

#include <sys/types.h>

#include <string>
#include <string_view>

namespace MERO::Systemd {

/// Whether paths lead to files below a mount path. Each path is resolved once, however many processes have it.
class MountPath {
public:
    /// A device's node instead of a path means every file on that device.
    explicit MountPath(std::string path);

    /// The resolved path when it is the mount path or below it, otherwise an empty text; good as long as this object. A
    /// text that does not begin with "/" (a socket, a pipe, [heap]) names no file and is not resolved.
    std::string_view Match(std::string_view path);

    /// The same for a file that is deleted, whose path cannot be resolved: by its text.
    std::string_view MatchDeleted(std::string_view path);

private:
    std::string_view Judge(std::string_view path);
    std::string_view JudgeResolved(std::string_view path);
    std::string_view ResolveFolder(std::string_view folder);
    std::string_view Resolve(const char* path);

    std::string path_;
    dev_t device_;
    TextTable verdicts_;
    TextTable folders_; ///< resolved: most files lie in a few of them
};

/// Whether `path` is `mountPath` or lies below it, by its text.
bool IsAtOrBelow(std::string_view path, std::string_view mountPath);

} // namespace MERO::Systemd
