#include "support/child.h"
#include "support/machine.h"

#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

#include <cstdlib>

using namespace MERO::Test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

constexpr uid_t kNobody = 65534;
constexpr uid_t kStranger = 54321; // not in passwd

class PamSession : public Machine {
protected:
    /// The session's stack, and the variables that it sets.
    void SetStack(const std::string& stack, const std::string& variables = "")
    {
        Write("/etc/pam.d/systemd-user", stack);
        Write("/run/pam_env.conf", variables);
    }

    /// Loads the environment as `uid`, and tells whether `name` is `value` then.
    static bool SetsVariable(uid_t uid, const char* name, const std::string& value)
    {
        return RunAs(uid, [&] {
                   MEROSystemdPutEnvByPAMSystemd();
                   const char* found = std::getenv(name);
                   return found != nullptr && found == value ? 0 : 1;
               }) == 0;
    }
};

const std::string kEnvironmentStack = "session required pam_env.so readenv=0 conffile=/run/pam_env.conf\n";

TEST_F(PamSession, EveryVariableIsSetAgain)
{
    SetStack(kEnvironmentStack, "MERO_NEW DEFAULT=fresh\nMERO_OLD DEFAULT=session\n");
    setenv("MERO_OLD", "before", 1);
    EXPECT_TRUE(SetsVariable(kNobody, "MERO_NEW", "fresh"));
    EXPECT_TRUE(SetsVariable(kNobody, "MERO_OLD", "session"));
    unsetenv("MERO_OLD");
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(PamSession, NothingHappensForRoot)
{
    SetStack(kEnvironmentStack, "MERO_NEW DEFAULT=fresh\n");
    MEROSystemdPutEnvByPAMSystemd();
    EXPECT_EQ(std::getenv("MERO_NEW"), nullptr);
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(PamSession, FailuresAreLoggedAndLeaveTheEnvironment)
{
    setenv("MERO_OLD", "before", 1);

    EXPECT_TRUE(SetsVariable(kStranger, "MERO_OLD", "before"));
    EXPECT_THAT(Log(), ElementsAre("ERR systemd_putenv_by_pam_systemd: Failed to GetUsername",
                                   "ERR systemd_putenv_by_pam_systemd: Failed to put env by pam systemd for 54321"));

    SetStack("session required pam_permit.so\n");
    EXPECT_TRUE(SetsVariable(kNobody, "MERO_OLD", "before"));
    EXPECT_THAT(Log(), ElementsAre("ERR systemd_putenv_by_pam_systemd: The pam_getenvlist is empty",
                                   "ERR systemd_putenv_by_pam_systemd: Failed to put env by pam systemd for 65534"));

    SetStack("session required pam_deny.so\n");
    EXPECT_TRUE(SetsVariable(kNobody, "MERO_OLD", "before"));
    const auto log = Log();
    EXPECT_THAT(log, Contains(HasSubstr("systemd_putenv_by_pam_systemd: Failed to pam_open_session (")));
    EXPECT_EQ(log.back(), "ERR systemd_putenv_by_pam_systemd: Failed to put env by pam systemd for 65534");
    unsetenv("MERO_OLD");
}

} // namespace
