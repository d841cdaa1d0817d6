#include "system/box.h"

#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>

using namespace MERO::Systemd;
using namespace MERO::Test;
using ::testing::UnorderedElementsAre;

namespace {

using Texts = std::vector<std::string>;

using RealReasons = Box;

TEST_F(RealReasons, TwoCallersHoldAServiceUntilBothReleaseIt)
{
    const std::string service = "[Service]\nExecStart=/bin/sleep infinity\n", dropIn = "/run/reason-drop-in.conf";
    Unit("held.service", service);
    Unit("free.service", service);
    // The drop-in that keeps a held service from starting, with a condition of systemd's own.
    std::ofstream(dropIn) << "[Unit]\nConditionDirectoryNotEmpty=!/run/merosystemd/reasons/%n\n";
    Shell("rm -r /run/merosystemd/reasons /run/systemd/system/held.service.d");
    EXPECT_TRUE(LinkMeroReason("/run/systemd/system/held.service.d/", dropIn));
    Load();
    const auto reloads = [&] { // since the last question
        return std::ranges::count(Journal(), "systemd_daemon-reload: daemon reload success!");
    };
    Texts failed, services, reasons;
    ASSERT_TRUE(MEROSystemdStart({"held", "free"}, failed));
    EXPECT_TRUE(MEROSystemdServiceStopByReason("upgrade", {"held", "free"}, failed));
    EXPECT_EQ(reloads(), 1);
    EXPECT_TRUE(MEROSystemdServiceStopByReason("volume-check", "held.service"));
    EXPECT_EQ(reloads(), 0) << "it was held already";
    EXPECT_EQ(ActiveState("held"), "inactive");
    EXPECT_TRUE(MEROSystemdServiceReasonList("held", reasons) && ListServicesWithReason(services));
    EXPECT_THAT(reasons, UnorderedElementsAre("upgrade", "volume-check"));
    EXPECT_THAT(services, UnorderedElementsAre("held.service", "free.service"));
    EXPECT_TRUE(MEROSystemdStart("held")) << "a start whose condition fails is no failure";
    EXPECT_EQ(ActiveState("held"), "inactive");

    EXPECT_TRUE(MEROSystemdServiceStartByReason("upgrade", {"held", "free"}, failed));
    EXPECT_EQ(ActiveState("held") + ActiveState("free"), "inactiveactive") << "the other reason holds it";
    EXPECT_TRUE(MEROSystemdServiceReasonRemove("volume-check", "held"));
    EXPECT_EQ(ActiveState("held"), "inactive") << "removed without a start";
    EXPECT_TRUE(MEROSystemdServiceStartByReason("volume-check", "held"));
    EXPECT_EQ(ActiveState("held"), "active");
    EXPECT_TRUE(failed.empty());
}

} // namespace
