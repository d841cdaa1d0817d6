#include "system/box.h"

#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

#include <fstream>

using namespace MERO::Systemd;
using namespace MERO::Test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

namespace {

using Texts = std::vector<std::string>;

class RealReasons : public Box {
protected:
    RealReasons()
    {
        Unit("held.service", "[Service]\nExecStart=/bin/sleep infinity\n");
        Unit("free.service", "[Service]\nExecStart=/bin/sleep infinity\n");
        // The drop-in that keeps a held service from starting, with a condition of systemd's own.
        std::ofstream("/run/reason-drop-in.conf")
            << "[Unit]\nConditionDirectoryNotEmpty=!/run/merosystemd/reasons/%n\n";
        std::filesystem::remove_all("/run/systemd/system/held.service.d");
        std::filesystem::remove_all("/run/merosystemd/reasons");
        EXPECT_TRUE(LinkMeroReason("/run/systemd/system/held.service.d/", "/run/reason-drop-in.conf"));
        Load();
    }

    static Texts Reasons(const std::string& service)
    {
        Texts reasons;
        EXPECT_TRUE(MEROSystemdServiceReasonList(service, reasons));
        return reasons;
    }
};

TEST_F(RealReasons, TwoCallersHoldAServiceUntilBothReleaseIt)
{
    Texts failed;
    ASSERT_TRUE(MEROSystemdStart({"held", "free"}, failed));
    EXPECT_TRUE(MEROSystemdServiceStopByReason("upgrade", {"held", "free"}, failed));
    EXPECT_TRUE(MEROSystemdServiceStopByReason("volume-check", "held.service"));
    EXPECT_EQ(ActiveState("held"), "inactive");
    EXPECT_THAT(Reasons("held"), UnorderedElementsAre("upgrade", "volume-check"));
    Texts services;
    EXPECT_TRUE(ListServicesWithReason(services));
    EXPECT_THAT(services, UnorderedElementsAre("held.service", "free.service"));
    EXPECT_TRUE(MEROSystemdStart("held")) << "a start whose condition fails is no failure";
    EXPECT_EQ(ActiveState("held"), "inactive");

    EXPECT_TRUE(MEROSystemdServiceStartByReason("upgrade", {"held", "free"}, failed));
    EXPECT_EQ(ActiveState("held"), "inactive") << "the other reason holds it";
    EXPECT_EQ(ActiveState("free"), "active");
    EXPECT_TRUE(MEROSystemdServiceStartByReason("volume-check", "held"));
    EXPECT_EQ(ActiveState("held"), "active");
    EXPECT_THAT(Reasons("held"), IsEmpty());
    EXPECT_THAT(failed, IsEmpty());
}

TEST_F(RealReasons, AReasonIsRemovedWithoutAStart)
{
    ASSERT_TRUE(MEROSystemdStart("held"));
    EXPECT_TRUE(MEROSystemdServiceStopByReason("upgrade", "held"));
    EXPECT_TRUE(MEROSystemdServiceReasonRemove("upgrade", "held"));
    EXPECT_EQ(ActiveState("held"), "inactive");
    EXPECT_FALSE(CheckServiceHasReason("held"));
}

TEST_F(RealReasons, TheManagerReloadsOnlyWhenAServiceIsHeldOrReleased)
{
    const std::string kReload = "systemd_daemon-reload: daemon reload success!";
    EXPECT_TRUE(MEROSystemdServiceStopByReason("first", "held"));
    EXPECT_THAT(Journal(), Contains(kReload).Times(1));
    EXPECT_TRUE(MEROSystemdServiceStopByReason("second", "held"));
    EXPECT_TRUE(MEROSystemdServiceReasonRemove("first", "held"));
    EXPECT_THAT(Journal(), Not(Contains(kReload)));
    EXPECT_TRUE(MEROSystemdServiceReasonRemove("second", "held"));
    EXPECT_THAT(Journal(), Contains(kReload).Times(1));
}

} // namespace
