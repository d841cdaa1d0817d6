#pragma once

#include "support/machine.h"
#include "support/shell.h"

#include <gmock/gmock.h>

#include <sys/socket.h>
#include <sys/un.h>

namespace MERO::Test {

/// The shell command for merosystemctl.
inline const std::string kTool = std::string("env TZ=UTC ") + MEROSYSTEMCTL + " ";

/// Runs the whole program on a private machine. Its systemctl knows units (/run/units, a file of properties each), jobs
/// (/run/jobs) and unit files (/run/files), with lines in systemctl's format.
struct Program : Machine {
    Program()
    {
        Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n");
        WriteProgram("/usr/bin/journalctl", "");
        Otherwise("true");
        Listen();
    }
    ~Program() override { close(manager_), std::filesystem::remove_all("/sys/fs"); }

    /// Listens on the manager's socket.
    void Listen() const
    {
        const sockaddr_un address{AF_UNIX, "/run/systemd/private"};
        fs::create_directories("/run/systemd");
        EXPECT_EQ(bind(manager_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(manager_, 99), 0);
    }

    /// Sets the shell script that systemctl runs for all other calls.
    void Otherwise(const std::string& script)
    {
        SystemctlScript(
            "property() { sed -n \"s/^$1=//p\" \"/run/units/$2\" | tail -n 1; }\n"
            "case \"$1 $2\" in\n"
            "'show --property') echo \"$3=$(property $3 $4)\";;\n"
            "show*) PATH=/bin:/usr/bin names=$2; keep=$(expr \"$2\" : '--property=\\(.*\\)' | tr , '|'); shift 2; "
            "for unit; do file=/run/units/$unit; [ -f $file ] || "
            "case $unit in *.target) file=/dev/null;; *) file=${file%.service}; esac; "
            "[ -e $file ] || continue; $next; next=echo; "
            "case $names in *=NRestarts,*) echo NRestarts=0; esac; "
            "cat $file; echo Id=$unit; echo Names=$unit; done | grep -xE \"(${keep:-[^=]*})=.*|\" || true;;\n"
            "is-enabled*) property UnitFileState $2;;\n"
            "list-jobs*) grep \" $3\" /run/jobs || true;;\n"
            "'list-unit-files --full') printf '%-20s %s\\n' 'UNIT FILE' STATE; while read unit state last; do "
            "printf '%-20s %s\\n' $unit $state; done < /run/files;;\n"
            "list-unit-files*) grep \"[.]$5\" /run/files || true;;\n"
            "*) " +
            script + ";; esac\n");
    }
    static void SetUnits(const std::vector<std::pair<std::string, std::string>>& units)
    {
        for (const auto& [unit, properties] : units) {
            Write("/run/units/" + unit, properties);
        }
    }
    static ShellResult Tool(const std::string& arguments) { return Shell(kTool + arguments); }

    const int manager_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

} // namespace MERO::Test
