#include "system/box.h"

#include <merosystemd/systemd.hpp>

#include <sys/mount.h>

#include <sstream>

using namespace MERO::Systemd;
using namespace MERO::Test;

namespace {

using Texts = std::vector<std::string>;
using Runs = std::map<std::string, std::string>; ///< running services, each with an ID of this run

const std::string kAll = "[X-Tarvix]\nVolumeDependency=all\n";
const std::string kPartial = "[X-Tarvix]\nVolumeDependency=partial\n";

class RealVolumes : public Box {
protected:
    RealVolumes()
    {
        EXPECT_TRUE(MountAnew("/vol1") && MountAnew("/vol2") && MountAnew("/vol10"));
        Service("all", "[Unit]\nAfter=open.service\n" + kAll);
        Service("some", "StandardInput=file:/vol1/file\n" + kPartial);
        Service("other", kPartial);
        Service("pkgctl-Foo", kPartial);
        Service("pkgctl-Bar", kPartial);
        Service("front", "[Unit]\nWants=helper.service\n");
        Service("helper", "WorkingDirectory=/vol1\n[Unit]\nPartOf=front.service\n[X-Tarvix]\nMaster=front.service\n");
        Service("open", "StandardInput=file:/vol1/file\nExecStartPre=/bin/sleep 0.3\n");
        Service("maps", "Environment=LD_PRELOAD=/vol1/lib.so\n");
        Service("inside", "WorkingDirectory=/vol1\n");
        Service("longer", "WorkingDirectory=/vol10\n");
        Service("optout", "WorkingDirectory=/vol1\n[X-Tarvix]\nSkipListByMntPath=yes\n");
        Load();
        Texts failed;
        EXPECT_TRUE(MEROSystemdStart(services_, failed));
        Service("idle", kAll);
        std::filesystem::create_directories("/var/packages/Foo");
        EXPECT_TRUE(MEROSystemdVolumeRegister("some", "/vol1") && MEROSystemdVolumeRegister("other", "/vol2") &&
                    MEROSystemdVolumeRegister("pkgctl-Bar", "/vol1") &&
                    MEROSystemdPackageVolumeRegister("Foo", "/vol1"));
        EXPECT_TRUE(Comes([users = Texts()]() mutable { // helper, inside, maps, open and some are listed
            return MEROSystemdServiceListByMntPath("/vol1", users) && users.size() == 5;
        }));
    }
    ~RealVolumes() override
    {
        Shell("umount -l /vol1 /vol2 /vol10; rm -r /var/packages/Foo /usr/mero/etc/merosystemd/volume-register");
    }

    /// Adds a service that sleeps.
    void Service(const std::string& name, const std::string& text)
    {
        Unit(name + ".service", "[Service]\nType=exec\nExecStart=/bin/sleep infinity\n" + text);
        services_.push_back(name);
    }

    static bool MountAnew(const std::string& volume)
    {
        return (umount(volume.c_str()) == 0 || errno != EBUSY) &&
               Shell("v=" + volume +
                     "; mkdir -p $v && mount -t tmpfs tmpfs $v && touch $v/file && "
                     "cp $(ldd /bin/sh | grep -o '/[^ ]*/libc.so.6') $v/lib.so")
                       .exitCode == 0;
    }

    Runs Now()
    {
        std::string command = "for s in";
        for (const std::string& service : services_) {
            command += " " + service;
        }
        std::istringstream running(Shell(command + "; do systemctl is-active -q $s && "
                                                   "echo $s $(systemctl show --value -p InvocationID $s); done")
                                       .output);
        Runs runs;
        for (std::string service, run; running >> service >> run;) {
            runs[service] = run;
        }
        return runs;
    }
    Texts StartedSince(Runs before)
    {
        Texts started;
        for (const auto& [service, run] : Now()) {
            if (before[service] != run) {
                started.push_back(service);
            }
        }
        return started;
    }

    Texts services_;
    const Texts ofVolume1_{"all", "front", "helper", "inside", "maps", "open", "pkgctl-Foo", "some"};
};

TEST_F(RealVolumes, ExactlyTheVolumesServicesStopAndStartAgainInOrder)
{
    Runs before = Now();
    ASSERT_TRUE(_MEROSystemdVolumeUnmountAction({"/vol1"}, [&] {
        EXPECT_EQ(Now().size(), before.size() - ofVolume1_.size());
        return MEROSystemdStop("optout") && MountAnew("/vol1"); // optout is for others to stop
    }));
    EXPECT_EQ(StartedSince(before), ofVolume1_);
    EXPECT_EQ(Now().size(), before.size() - 1) << "all but optout";
    const auto time = [](const std::string& unit, const std::string& change) {
        return std::stol(Shell("systemctl show --value -p " + change + "TimestampMonotonic " + unit).output);
    };
    EXPECT_GE(time("open", "ActiveExit"), time("all", "InactiveEnter"));
    EXPECT_GE(time("all", "InactiveExit"), time("open", "ActiveEnter"));

    // The target fails immediately, while a service is still stopping.
    before = Now();
    Unit("all.service.d/slow.conf", "[Service]\nExecStop=/bin/sleep 1\n");
    Unit("fails.service", "[Service]\nType=oneshot\nExecStart=/bin/false\n");
    Unit("unmount-volume-begin.target.d/fails.conf", "[Unit]\nRequires=fails.service\nAfter=fails.service\n");
    EXPECT_FALSE(_MEROSystemdVolumeUnmountAction({"/vol1"}, [] { return ADD_FAILURE() << "not all stopped", true; }));
    EXPECT_EQ(StartedSince(before), ofVolume1_);
}

TEST_F(RealVolumes, AServiceThatRefusesToStopIsNotLost)
{
    Service("refuses", "WorkingDirectory=/vol2\nExecStop=/bin/false\n[Unit]\nRefuseManualStop=yes\n");
    Service("stays", "WorkingDirectory=/vol2\nExecStart=\nExecStart=/bin/sh -c 'trap \"\" TERM; sleep infinity'\n"
                     "TimeoutStopSec=1\nSendSIGKILL=no\nKillMode=process\n");
    Load();
    EXPECT_TRUE(MEROSystemdStart("refuses") && MEROSystemdStart("stays"));
    EXPECT_TRUE(Comes([] { return Shell("pgrep -P $(systemctl show --value -p MainPID stays)").exitCode == 0; }));
    const Runs before = Now();
    EXPECT_FALSE(_MEROSystemdVolumeUnmountAction({"/vol2"}, [] { return MountAnew("/vol2"); }));
    EXPECT_EQ(StartedSince(before), (Texts{"all", "other", "refuses", "stays"}));
}

TEST_F(RealVolumes, UnitsThatSystemdStopsAlongStartAgain)
{
    Service("web", "[Unit]\nRequires=db.service\nAfter=db.service\n");
    Service("front2", "[Unit]\nBindsTo=web.service\nAfter=web.service\n");
    Service("part", "[Unit]\nPartOf=db.service\n");
    Service("shy", "[Unit]\nRequires=db.service\nRefuseManualStart=yes\n");
    Service("db", "WorkingDirectory=/vol2\n[Unit]\nWants=shy.service\n");
    Service("inst@", kAll);
    services_.back() = "inst@1";
    Service("slave", "WorkingDirectory=/vol2\n[Unit]\nPartOf=db.service\n[X-Tarvix]\nMaster=db\n");
    Unit("web.socket", "[Unit]\nPartOf=db.service\n[Socket]\nListenStream=/run/web.sock\n");
    Unit("db.timer", "[Timer]\nOnActiveSec=1h\nUnit=db.service\n");
    Unit("gro\\x2dup.target", "[Unit]\nRequires=db.service\nWants=never.service\n");
    Service("never", "");
    Load();
    Texts failed;
    EXPECT_TRUE(MEROSystemdStart(
                    {"web.socket", "db", "web", "front2", "part", "inst@1", "slave", "gro\\x2dup.target", "db.timer"},
                    failed) &&
                MEROSystemdStop("never"));
    const Runs before = Now();
    FullVolumeUnmountPlan plan;
    EXPECT_TRUE(Comes([&] { return MEROSystemdVolumeUnmountFullPlan({"/vol2"}, plan) && plan.stops.size() == 4; }));
    std::string dependents;
    for (const PlannedDependent& dependent : plan.dependents) {
        dependents += dependent.unit + (dependent.startsAgain ? "<" : "!") + dependent.takenBy + " ";
    }
    EXPECT_EQ(dependents,
              "front2.service<web.service gro\\x2dup.target<db.service part.service<db.service "
              "shy.service!db.service slave.service<db.service web.service<db.service web.socket<db.service ");
    EXPECT_TRUE(plan.triggers.size() == 1 && plan.triggers[0].unit == "db.timer");
    EXPECT_TRUE(_MEROSystemdVolumeUnmountAction({"/vol2"}, [&] { return MountAnew("/vol2"); }));
    EXPECT_EQ(StartedSince(before), (Texts{"all", "db", "front2", "inst@1", "other", "part", "shy", "slave", "web"}));
    EXPECT_EQ(Now().size(), before.size());
    EXPECT_EQ(Shell("systemctl is-active web.socket 'gro\\x2dup.target' db.timer never").output,
              "active\nactive\nactive\ninactive\n");
}

TEST_F(RealVolumes, AUnitThatUnmountsItsOwnVolumeStartsAgain)
{
    Service("own", "ExecStart=\nExecStart=/bin/sh -c '[ -e /run/once ] && exec sleep infinity; touch /run/once; "
                   "exec " MEROSYSTEMCTL " volume unmount /vol2 -- sleep 60'\n[Unit]\nRequires=other.service\n");
    Load();
    Runs before = Now();
    EXPECT_TRUE(MEROSystemdStart("own") && Comes([&] { return StartedSince(before) == Texts{"all", "other", "own"}; }));
    EXPECT_EQ(Shell("rm /run/once; ls -A /run/merosystemd | grep unmount").output, "");
}

TEST_F(RealVolumes, ThePlanNamesEachCauseAndBlocker)
{
    Shell("systemd-run --scope --unit=holder sleep infinity < /vol1/file > /dev/null 2>&1 &");
    const auto plan = [] { // without process IDs
        return Shell(MEROSYSTEMCTL
                     " volume plan /vol1 2> /dev/null | grep -e '[.]s' -e '->' | sed -E 's/ [0-9]+( |$)/\\1/g; s/  "
                     "+/ /g; s/ $//' | sort")
            .output;
    };
    const std::string expected = " -> kill\n -> merosystemctl stop optout.service\n"
                                 "all.service depends on all volumes - - - -\n"
                                 "front.service master of helper.service, which uses files sleep cwd /vol1\n"
                                 "helper.service stops along with front.service - - - -\n"
                                 "inside.service uses files sleep cwd /vol1\n"
                                 "maps.service uses files sleep map /vol1/lib.so\n"
                                 "open.service uses files sleep fd /vol1/file\n"
                                 "pkgctl-Foo.service belongs to package Foo, which registered the volume - - - -\n"
                                 "process holder.scope sleep fd /vol1/file\n"
                                 "process optout.service sleep cwd /vol1\n"
                                 "some.service registered the volume - - - -\n"
                                 "some.service uses files sleep fd /vol1/file\n";
    EXPECT_TRUE(Comes([&] { return plan() == expected; })) << plan();
    Shell("systemctl stop holder.scope");
}

} // namespace
