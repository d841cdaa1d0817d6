#include <CLI/CLI.hpp>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <linux/magic.h>
#include <map>
#include <sys/vfs.h>

#include "sandbox/inside.h"
#include "sandbox/sandbox.h"

namespace {

constexpr const char* kDescription = "Boots a separate systemd in namespaces, runs a command in it, and removes\n"
                                     "everything again. The command's changes are lost with the sandbox.\n"
                                     "Without a command it starts a shell.\n";

constexpr const char* kFooter = "The sandbox shows the root file system; writes to it are discarded. /run, /tmp\n"
                                "and /etc/systemd/system are empty. The network is the host's.\n"
                                "\n"
                                "Exit codes:\n"
                                "  the command's own, or\n"
                                "  2      wrong usage\n"
                                "  125    the sandbox itself failed\n"
                                "  126    the command cannot be run\n"
                                "  127    the command was not found\n"
                                "  128+N  signal N ended the command, or the wait for the sandbox\n"
                                "\n"
                                "Examples:\n"
                                "  mero-sandbox systemctl list-units\n"
                                "  mero-sandbox --bind /tmp/build -- /tmp/build/bin/some-test --verbose\n"
                                "  mero-sandbox sh -c 'systemctl stop dbus.socket; systemctl --failed'\n";

namespace fs = std::filesystem;

using MERO::Sandbox::CgroupLayout;
using MERO::Sandbox::Options;

/// The version of the systemd below `root`, from the name of its private library; 0 if there is none.
int SystemdVersion(const fs::path& root)
{
    constexpr std::string_view kLibrary = "libsystemd-shared-";
    std::error_code unreadable;
    for (const fs::directory_entry& folder : fs::directory_iterator(root / "usr/lib", unreadable))
        for (const fs::path& place : {folder.path(), folder.path() / "systemd"})
            for (const fs::directory_entry& file : fs::directory_iterator(place, unreadable))
                if (const std::string name = file.path().filename(); name.starts_with(kLibrary))
                    return std::atoi(name.c_str() + kLibrary.size());
    return 0;
}

const std::map<std::string, CgroupLayout> kLayouts = {
    {"v1", CgroupLayout::V1}, {"v2", CgroupLayout::V2}, {"mixed", CgroupLayout::Mixed}};

/// Current machines have version 2 only, and systemd 258 and newer support nothing else.
CgroupLayout UsualLayout(const fs::path& root)
{
    struct statfs found {};
    const bool isHosts = statfs("/sys/fs/cgroup", &found) == 0 && found.f_type == CGROUP2_SUPER_MAGIC;
    return isHosts || SystemdVersion(root) >= 258 ? CgroupLayout::V2 : CgroupLayout::V1;
}

/// The root file system of a Debian release. Builds it if it does not exist yet.
fs::path RootOfRelease(const std::string& release)
{
    FILE* script = popen(("'" MERO_RELEASE_ROOT "' " + release).c_str(), "re");
    char root[PATH_MAX] = "";
    const bool isMade = script != nullptr && fgets(root, sizeof root, script) != nullptr;
    if (script != nullptr)
        (void)pclose(script);
    if (!isMade)
        throw std::runtime_error("there is no root file system of " + release);
    return std::string_view(root).substr(0, std::strcspn(root, "\n"));
}

/// Adds the command to the usage line. The parser does not know it, so that the command can have its own options.
class HelpWithCommand : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App*, std::string) const override
    {
        return "Usage: mero-sandbox [OPTIONS] [--] [COMMAND [ARG...]]\n";
    }
};

/// Throws CLI::ParseError; exits the program for --help.
Options ParseCommandLine(int argc, char** argv)
{
    Options options;
    double seconds = std::chrono::duration<double>(options.bootTime).count();
    std::vector<std::string> binds;
    CLI::App app(kDescription, "mero-sandbox");
    app.formatter(std::make_shared<HelpWithCommand>());
    app.footer(kFooter);
    app.get_formatter()->column_width(24);
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.add_option("--bind", binds, "Show this path of the host, read-only;\ncan be given more than once")
        ->option_text("PATH")
        ->check(CLI::ExistingPath)
        ->allow_extra_args(false);
    CLI::Option* root =
        app.add_option("--root", options.box.root, "Show this folder as the root file system;\ndefault: /")
            ->option_text("DIR")
            ->check(CLI::ExistingDirectory);
    std::string release;
    app.add_option("--release", release,
                   "Show a Debian release: bookworm, trixie, forky or sid;\nits root is made once")
        ->option_text("NAME")
        ->check(CLI::IsMember({"bookworm", "trixie", "forky", "sid"}))
        ->excludes(root);
    std::string version;
    app.add_option("--cgroup", version,
                   "Version of the cgroup hierarchies: v1, v2, or mixed\n(v2 and the resource monitor's of v1);\n"
                   "default: v2 if the host or the systemd shown\nhas nothing else, otherwise v1")
        ->option_text("VERSION")
        ->check(CLI::IsMember({"v1", "v2", "mixed"}));
    app.add_option("--timeout", seconds, "How long booting may take; default: 30")
        ->option_text("SECONDS")
        ->check(CLI::Range(0.01, 3600.0));
    app.add_flag("-v,--verbose", options.isVerbose, "Print how long booting took");
    app.prefix_command();
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& help) {
        std::exit(app.exit(help));
    }

    options.box.root = release.empty() ? fs::canonical(options.box.root) : RootOfRelease(release);
    options.box.cgroups = version.empty() ? UsualLayout(options.box.root) : kLayouts.at(version);
    options.box.binds.assign(binds.begin(), binds.end());
    options.bootTime = std::chrono::round<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
    options.command = app.remaining();
    // To the parser, an unknown option ends the options just as a command does.
    if (!options.command.empty() && options.command[0] == "--")
        options.command.erase(options.command.begin());
    else if (!options.command.empty() && options.command[0].starts_with('-'))
        throw CLI::ExtrasError({options.command[0]});
    if (options.command.empty())
        options.command = {"/bin/bash"};
    return options;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return MERO::Sandbox::RunInSandbox(ParseCommandLine(argc, argv));
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "mero-sandbox: %s\nRun with --help for more information.\n", error.what());
        return MERO::Sandbox::kBadUsage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "mero-sandbox: %s\n", error.what());
        return MERO::Sandbox::kSandboxFailed;
    }
}
