#pragma once

#include "volume/text_table.h"

#include <sys/types.h>

#include <string>
#include <string_view>

namespace MERO::Systemd {

/// Decides whether paths lead to files below a mount path. Resolves each path once, however many processes use it.
class MountPath {
public:
    /// If `path` is a device node, every file on that device matches.
    explicit MountPath(std::string path);

    /// Returns the resolved path if it is the mount path or below it, otherwise an empty text; valid as long as this
    /// object. A text that does not begin with "/" (a socket, a pipe, [heap]) is no file and never matches.
    std::string_view Match(std::string_view path);

    /// The same for a deleted file. Its path cannot be resolved, so this compares the text.
    std::string_view MatchDeleted(std::string_view path);

private:
    std::string_view Judge(std::string_view path);
    std::string_view JudgeResolved(std::string_view path);
    std::string_view ResolveFolder(std::string_view folder);
    std::string_view Resolve(const char* path);

    std::string path_;
    dev_t device_;
    TextTable verdicts_;
    TextTable folders_; ///< resolved folders: most files are in a few of them
};

/// Whether `path` is `mountPath` or below it. Compares only the texts.
bool IsAtOrBelow(std::string_view path, std::string_view mountPath);

} // namespace MERO::Systemd
