#include <CLI/CLI.hpp>
#include <cstdio>
#include <linux/magic.h>
#include <map>
#include <sys/vfs.h>

#include "sandbox/inside.h"
#include "sandbox/sandbox.h"

namespace {

constexpr const char* kDescription = "Boots a systemd of its own in namespaces, runs a command in it, and takes all\n"
                                     "of it away again. What the command changes is gone with the sandbox.\n"
                                     "Without a command it starts a shell.\n";

constexpr const char* kFooter = "The sandbox shows the root file system, writable but unharmed, with empty\n"
                                "/run, /tmp and /etc/systemd/system. It shares the host's network.\n"
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

using MERO::Sandbox::CgroupLayout;
using MERO::Sandbox::Options;

/// A machine of today has version 2 alone, and systemd 258 and newer do not know the other.
CgroupLayout HostsLayout()
{
    struct statfs found {};
    const bool isV2 = statfs("/sys/fs/cgroup", &found) == 0 && found.f_type == CGROUP2_SUPER_MAGIC;
    return isV2 ? CgroupLayout::V2 : CgroupLayout::V1;
}

/// The command is no option of the parser's, so that it may have options of its own.
class HelpWithCommand : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App*, std::string) const override
    {
        return "Usage: mero-sandbox [OPTIONS] [--] [COMMAND [ARG...]]\n";
    }
};

/// Throws CLI::ParseError; ends the program for --help.
Options ParseCommandLine(int argc, char** argv)
{
    Options options;
    options.box.cgroups = HostsLayout();
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
    app.add_option("--root", options.box.root, "Show this folder as the root file system;\ndefault: /")
        ->option_text("DIR")
        ->check(CLI::ExistingDirectory);
    app.add_option("--cgroup", options.box.cgroups,
                   "Version of the cgroup hierarchies: v1, v2, or mixed\n(v2 and the resource monitor's of v1); "
                   "default: the host's")
        ->option_text("VERSION")
        ->transform(CLI::Transformer(std::map<std::string, CgroupLayout>{
            {"v1", CgroupLayout::V1}, {"v2", CgroupLayout::V2}, {"mixed", CgroupLayout::Mixed}}));
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

    options.box.binds.assign(binds.begin(), binds.end());
    options.bootTime = std::chrono::round<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
    options.command = app.remaining();
    // An option that is not known ends the options just as a command does.
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
