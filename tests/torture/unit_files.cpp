/// Random arrangements of unit files on a real systemd: the library lists the same units as systemctl, in the same
/// order.
#include "torture.h"

#include <algorithm>
#include <fstream>

using namespace MERO::Torture;

namespace {

const Texts kFolders{"/etc/systemd/system",           "/run/systemd/system",          "/run/systemd/transient",
                     "/run/systemd/generator",        "/run/systemd/generator.early", "/run/systemd/generator.late",
                     "/usr/local/lib/systemd/system", "/etc/systemd/system.control"};
const Texts kTypes{"service", "socket", "device", "mount", "automount", "swap",   "target",
                   "path",    "timer",  "slice",  "scope", "conf",      "Service"};
const Texts kForms{"x%", "X%", "x%@", "x%@i", "x-%", "x\\x2d%", ".x%", "x %", "@x%", "x%~", "x@%@y", "x:%_"};
/// Scripts that create the path $1; $2 is another unit's name. No link leads to a FIFO: systemctl would wait for a
/// writer.
const Texts kKinds{"echo '[Unit]' > \"$1\"",
                   "echo '[Unit]' > \"$1\"",
                   ": > \"$1\"",
                   "ln -s /dev/null \"$1\"",
                   "ln -s \"$2\" \"$1\"",
                   "ln -s /nowhere \"$1\"",
                   "ln -s /etc \"$1\"",
                   "mkdir \"$1\"",
                   "mkfifo \"${1%/*}/fifo-${1##*/}\"",
                   "ln -s /proc/version \"$1\"",
                   "echo '[Install]' > \"$1\"; chmod 0 \"$1\""};

const std::string& OneOf(Run& run, const Texts& texts)
{
    return texts[static_cast<std::size_t>(run.Random(static_cast<int>(texts.size())))];
}

std::string Name(Run& run)
{
    std::string name = OneOf(run, kForms);
    return name.replace(name.find('%'), 1, std::to_string(run.Random(8))) + "." + OneOf(run, kTypes);
}

void Arrange(Run& run)
{
    std::ofstream script("/run/arrange");
    script << "make() { "
           << "mkdir -p \"${1%/*}\"; rm -rf \"$1\"; }\n";
    for (int i = run.Random(60); i > 0; --i) {
        script << "set -- '" << OneOf(run, kFolders) << "/" << Name(run) << "' '" << Name(run) << "'; make \"$1\"; "
               << OneOf(run, kKinds) << "\n";
    }
    script.close();
    Shell("sh /run/arrange");
}

/// systemctl's order does not define which of two names that differ only in case comes first.
Texts WithTiesSorted(Texts names)
{
    const auto key = [](std::string name) {
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
        return name;
    };
    for (auto tie = names.begin(); tie != names.end();) {
        const auto end = std::find_if(tie, names.end(), [&](const auto& name) { return key(name) != key(*tie); });
        std::sort(tie, end);
        tie = end;
    }
    return names;
}

Texts AskedFor(const std::string& type)
{
    std::istringstream lines(Shell("systemctl list-unit-files --root=/. --no-legend " +
                                   (type.empty() ? "" : "--type=" + type) + " 2> /dev/null")
                                 .output);
    Texts names;
    for (std::string line; std::getline(lines, line);) {
        names.push_back(line.substr(0, line.find(' ')));
    }
    return names;
}

} // namespace

MERO_TORTURE(unit_files, Systemd)
{
    for (int left = run.Scaled(300); left > 0; --left) {
        Arrange(run);
        const std::string type = run.Random(3) == 0 ? kTypes[static_cast<std::size_t>(run.Random(11))] : "";
        Texts listed;
        run.Expect(MEROSystemdListUnits(listed, type), "the unit files cannot be listed");
        const Texts asked = WithTiesSorted(AskedFor(type)), found = WithTiesSorted(listed);
        run.ExpectSame(Joined(asked, "\n"), Joined(found, "\n"));
        run.Expect(found == asked, "the order differs");
        for (const std::string& folder : kFolders) {
            Shell("rm -rf " + folder + "/*[xX]* " + folder + "/.x*");
        }
        run.Done();
    }
}
