#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <unordered_map>

namespace MERO::Systemd {

/// Whether paths lead to files below a mount path. Each path is resolved once, however many processes have it.
class MountPath {
public:
    /// A device's node instead of a path means every file on that device.
    explicit MountPath(std::string path);

    /// The resolved path when it is the mount path or below it, otherwise an empty text. A text that does not begin
    /// with "/" (a socket, a pipe, [heap]) names no file and is not resolved.
    const std::string& Match(std::string_view path);

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };

    using Paths = std::unordered_map<std::string, std::string, Hash, std::equal_to<>>;

    std::string Judge(const std::string& path);
    std::string JudgeResolved(std::string path) const;
    const std::string& ResolveFolder(std::string_view folder);

    std::string path_;
    dev_t device_;
    Paths verdicts_;
    Paths folders_; ///< resolved: most files lie in a few of them
};

/// Whether `path` is `mountPath` or lies below it, by its text.
bool IsAtOrBelow(std::string_view path, std::string_view mountPath);

} // namespace MERO::Systemd
