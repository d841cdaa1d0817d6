#include "support/child.h"
#include "system/box.h"

#include <merosystemd/systemd.hpp>

#include <pwd.h>

using namespace MERO::Systemd;
using namespace MERO::Test;

namespace {

/// An ordinary user with a running user manager and a unit of their own.
class UserManager : public Box {
protected:
    UserManager()
    {
        Shell("id walter || useradd --create-home walter");
        uid = getpwnam("walter")->pw_uid;
        Shell("install -D -o walter -m 644 /dev/stdin ~walter/.config/systemd/user/own.service <<-'END'\n"
              "[Service]\nExecStart=/bin/sleep infinity\nEND");
        Shell("chown -R walter ~walter; systemctl start user@" + std::to_string(uid) + ".service");
    }

    /// Calls `body` as the user, without a session's environment.
    template <typename Body>
    int AsUser(Body&& body)
    {
        return RunAs(uid, [&] {
            clearenv();
            return body();
        });
    }

    uid_t uid = 0;
};

TEST_F(UserManager, AUserStartsAndStopsTheirOwnUnit)
{
    const auto isActive = [this] {
        return Shell("XDG_RUNTIME_DIR=/run/user/" + std::to_string(uid) +
                     " setpriv --reuid=walter --clear-groups systemctl --user is-active own")
            .output;
    };
    ASSERT_EQ(Shell("systemctl is-active user@" + std::to_string(uid)).output, "active\n");
    EXPECT_EQ(AsUser([] { return MEROSystemdStart("own"); }), 1);
    EXPECT_EQ(isActive(), "active\n");
    EXPECT_EQ(AsUser([] { return MEROSystemdStop("own"); }), 1);
    EXPECT_EQ(isActive(), "inactive\n");
    // Use copies: an ordinary user may not be able to enter the build folder.
    EXPECT_EQ(Shell("install -D -t /tmp/tool " MEROSYSTEMCTL " " MERO_LIBRARIES " && cd / && setpriv --reuid=walter "
                    "--regid=walter --clear-groups env -i LD_LIBRARY_PATH=/tmp/tool /tmp/tool/merosystemctl start own")
                  .output,
              "");
    EXPECT_EQ(isActive(), "active\n");
    // The system's manager, which the user may query, does not know the unit.
    const auto isUnknown = [] {
        const SystemctlOpts forced = SystemctlOptsBuilder().SetForceSystem(true).Build();
        const auto read = [](int, const auto& lines) { return lines[0] == "LoadState=not-found\n"; };
        return MEROSystemdSystemctlUltron("show", forced, {"--property=LoadState", "own.service"}, read);
    };
    EXPECT_EQ(AsUser(isUnknown), 1);
}

} // namespace
