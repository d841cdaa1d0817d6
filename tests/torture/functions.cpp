#include "torture/functions.h"

#include "support/operations.h"

#include <merosystemd/resource.hpp>

#include <cxxabi.h>
#include <dlfcn.h>
#include <sys/mount.h>
#include <unistd.h>

#include <deque>
#include <filesystem>
#include <tuple>
#include <type_traits>
#include <typeinfo>

namespace MERO::Torture {
namespace {

// One row a kind of parameter or of function, which the formatter would spread over the file.
// clang-format off

using namespace MERO::Systemd;
using Test::Texts;
using Action = bool (*)(void*);

std::string Demangled(const char* name)
{
    int status = 0;
    char* text = abi::__cxa_demangle(name, nullptr, nullptr, &status);
    const std::string demangled = status == 0 ? text : name;
    std::free(text);
    return demangled;
}

/// What the parameters of one call are made from: the texts of its row, in turn.
struct Turn {
    std::deque<std::string> texts;
    int bad;
    int at = 0;

    bool IsBad() { return at++ == bad; }
    std::string Text()
    {
        const std::string text = texts.empty() ? "" : texts.front();
        texts.empty() ? void() : texts.pop_front();
        return text;
    }
};

std::string Shown(const std::string& text) { return text + ";"; }
std::string Shown(bool value) { return value ? "yes;" : "no;"; }
template <typename Number> requires std::is_arithmetic_v<Number> || std::is_enum_v<Number>
std::string Shown(Number value) { return std::to_string(static_cast<int>(value)) + ";"; }
std::string Shown(const Texts& texts)
{
    std::string shown;
    for (const std::string& text : texts) {
        shown += text + ",";
    }
    return shown + ";";
}
std::string Shown(const IsolateState& state) { return state.target + ";"; }
std::string Shown(const MERO_SYSTEMD_ISOLATE_STATE& state) { return std::string(state.target) + ";"; }
std::string Shown(const JobInfo& job) { return job.ToString() + ";"; }
std::string Shown(const Icon& icon) { return icon.name + "," + icon.path + ";"; }
std::string Shown(const VolumeRegistration& registration) { return registration.owner + Shown(registration.volumes); }
std::string Shown(const VolumeUnmountPlan& plan)
{
    std::string shown;
    for (const PlannedStop& stop : plan.stops) {
        shown += stop.unit + ":" + std::to_string(stop.causes.size()) + ",";
    }
    return shown + ";";
}
template <typename Item> std::string Shown(const std::vector<Item>& items)
{
    return items.empty() ? ";" : Shown(items.front());
}
std::string Shown(const std::map<std::uint32_t, JobInfo>& jobs) { return jobs.empty() ? ";" : Shown(jobs.begin()->second); }

/// A parameter of one type: outputs, options and actions are what they are; inputs come from the row.
template <typename T> struct Argument { ///< T&: an output, or options
    using Value = std::remove_cvref_t<T>;
    explicit Argument(Turn& turn) { turn.IsBad(); }
    operator T() { return static_cast<T>(value); }
    std::string Stored() { if constexpr (requires { Shown(value); }) { return Shown(value); } else { return ""; } }
    Value value{};
};
template <typename T> struct Argument<T*> { ///< an output
    explicit Argument(Turn& turn) : isBad(turn.IsBad()) {}
    operator T*() { return isBad ? nullptr : &value; }
    std::string Stored() { return Shown(value); }
    bool isBad;
    T value{};
};
struct NothingStored {
    std::string Stored() { return ""; }
};
template <> struct Argument<const std::string&> : NothingStored {
    explicit Argument(Turn& turn) : value(turn.Text()) { turn.IsBad() ? value.clear() : void(); }
    operator const std::string&() { return value; }
    std::string value;
};
template <> struct Argument<std::string> : Argument<const std::string&> {
    using Argument<const std::string&>::Argument;
};
template <> struct Argument<const Texts&> : NothingStored {
    explicit Argument(Turn& turn) : value{turn.Text()} { turn.IsBad() || value[0].empty() ? value.clear() : void(); }
    operator const Texts&() { return value; }
    Texts value;
};
template <> struct Argument<const char*> : NothingStored {
    explicit Argument(Turn& turn) : value(turn.Text()), isBad(turn.IsBad()) {}
    operator const char*() { return isBad ? nullptr : value.c_str(); }
    std::string value;
    bool isBad;
};
template <> struct Argument<char*> {
    explicit Argument(Turn& turn) : isBad(turn.IsBad()) {}
    operator char*() { return isBad ? nullptr : value; }
    std::string Stored() { return Shown(std::string(value)); }
    bool isBad;
    char value[256]{};
};
template <> struct Argument<int> : NothingStored {
    explicit Argument(Turn& turn) : value(std::stoi(turn.Text())) { turn.IsBad() ? void(value = -1) : void(); }
    operator int() { return value; }
    int value;
};
template <> struct Argument<void*> : NothingStored {
    explicit Argument(Turn& turn) { turn.IsBad(); }
    operator void*() { return nullptr; }
};
template <> struct Argument<Action> : NothingStored {
    explicit Argument(Turn& turn) : isBad(turn.IsBad()) {}
    operator Action() { return isBad ? nullptr : +[](void*) { return true; }; }
    bool isBad;
};
template <typename R, typename... Args> struct Argument<std::function<R(Args...)>&&> : NothingStored {
    explicit Argument(Turn& turn) { turn.IsBad(); }
    operator std::function<R(Args...)>&&() { return std::move(value); }
    std::function<R(Args...)> value = [](Args...) { return R(true); };
};
template <> struct Argument<const std::function<void(KillPhase)>&> : NothingStored {
    explicit Argument(Turn& turn) { turn.IsBad(); }
    operator const std::function<void(KillPhase)>&() { return value; }
    std::function<void(KillPhase)> value = [](KillPhase) {};
};
template <> struct Argument<const MLIBCSzList*> : NothingStored { ///< bad: null
    explicit Argument(Turn& turn) : value(Test::MakeList({turn.Text()})), isBad(turn.IsBad()) {}
    operator const MLIBCSzList*() { return isBad ? nullptr : value.get(); }
    Test::List value;
    bool isBad;
};
template <> struct Argument<MLIBCSzList**> {
    explicit Argument(Turn& turn) : value(MLIBCSzListAlloc()), isBad(turn.IsBad()) {}
    Argument(const Argument&) = delete;
    Argument(Argument&& other) : value(std::exchange(other.value, nullptr)), isBad(other.isBad) {}
    ~Argument() { MLIBCSzListFree(value); }
    operator MLIBCSzList**() { return isBad ? nullptr : &value; }
    std::string Stored() { return Shown(Test::Items(value)); }
    MLIBCSzList* value;
    bool isBad;
};

std::vector<Function> table;

/// The type of the exception that is being handled.
std::string Thrown() { return Demangled(abi::__cxa_current_exception_type()->name()); }

/// Outside of the call itself nothing may fail on purpose: see fault_points.h.
std::function<void()> before = [] {}, after = [] {};

template <typename Body> Answer Guarded(Body&& body)
{
    Answer answer;
    try {
        before();
        answer.done = body();
        after();
    } catch (...) {
        after();
        answer.thrown = Thrown();
    }
    return answer;
}

template <typename R> bool IsDone(const std::string& name, R result)
{
    return name.find("StatusGet") != name.npos ? static_cast<int>(result) >= 0 : static_cast<int>(result) == 1;
}

template <typename R, typename... Args>
void AddOne(const std::vector<std::string>& texts, R (*function)(Args...), bool mayThrow)
{
    Dl_info info{};
    dladdr(reinterpret_cast<const void*>(function), &info);
    const std::string symbol = info.dli_sname != nullptr ? info.dli_sname : "?";
    table.push_back({Demangled(symbol.c_str()), reinterpret_cast<const void*>(function), sizeof...(Args),
                     symbol.starts_with("MEROC"), mayThrow, [=](int bad) {
                         Turn turn{{texts.begin(), texts.end()}, bad};
                         std::tuple<Argument<Args>...> arguments{Argument<Args>(turn)...};
                         Answer answer = Guarded([&] {
                             return std::apply(
                                 [&](auto&... argument) {
                                     if constexpr (std::is_void_v<R>) {
                                         function(static_cast<Args>(argument)...);
                                         return true;
                                     } else {
                                         return IsDone(symbol, function(static_cast<Args>(argument)...));
                                     }
                                 },
                                 arguments);
                         });
                         std::apply([&](auto&... argument) { ((answer.text += argument.Stored()), ...); }, arguments);
                         return answer;
                     }});
}

/// Functions of one shape that are given the same texts.
template <typename Shape> void Add(const std::vector<std::string>& texts, std::initializer_list<Shape*> functions)
{
    for (Shape* function : functions) {
        AddOne(texts, function, false);
    }
}

/// Functions whose headers tell that they throw.
template <typename Shape> void AddThrowing(const std::vector<std::string>& texts, Shape* function)
{
    AddOne(texts, function, true);
}

void AddMember(const std::string& name, bool mayThrow, const std::function<bool()>& body)
{
    table.push_back({name, nullptr, 0, false, mayThrow, [=](int) { return Guarded(body); }});
}

const std::string kVolume = "/run/pool";
using Text = const std::string&;
using List = const MLIBCSzList*;
using Lists = MLIBCSzList**;
using Result = MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT;

void AddC()
{
    Add<int(const char*)>({"a"}, {MEROCSystemdStart, MEROCSystemdStartNoBlock, MEROCSystemdStartIrreversibly,
        MEROCSystemdStop, MEROCSystemdStopNoBlock, MEROCSystemdRestart, MEROCSystemdRestartNoBlock,
        MEROCSystemdTryRestart, MEROCSystemdTryRestartNoBlock, MEROCSystemdReload, MEROCSystemdReloadNoBlock,
        MEROCSystemdReloadOrRestart, MEROCSystemdReloadOrRestartNoBlock, MEROCSystemdEnable,
        MEROCSystemdEnableInGenerator, MEROCSystemdDisable, MEROCSystemdDisableInGenerator, MEROCSystemdReenable,
        MEROCSystemdMask, MEROCSystemdMaskRunTime, MEROCSystemdUnmask, MEROCSystemdUnmaskRunTime,
        MEROCSystemdUninstall, MEROCSystemdLoadStatusGet, MEROCSystemdActiveStatusGet,
        MEROCSystemdActiveStatusGetSystem, MEROCSystemdEnableStatusGet, MEROCSystemdEnableStatusGetSystem,
        MEROCSystemdEnableStatusGetInGenerator, MEROCSystemdDefaultTargetSet,
        MEROCSystemdDefaultTargetSetInGenerator, MEROCSystemdIsJobEnqueued});
    Add<int(const char*)>({"a.slice"}, {MEROCSystemdCgroupMonitorSliceMove, MEROCSystemdCgroupSystemdSliceMove});
    Add<int(List, Lists)>({"a"}, {MEROCSystemdStartGroup, MEROCSystemdStartGroupNoBlock, MEROCSystemdStopGroup,
        MEROCSystemdStopGroupNoBlock, MEROCSystemdRestartGroup, MEROCSystemdRestartGroupNoBlock,
        MEROCSystemdTryRestartGroup, MEROCSystemdTryRestartGroupNoBlock, MEROCSystemdReloadGroup,
        MEROCSystemdReloadGroupNoBlock, MEROCSystemdReloadOrRestartGroup, MEROCSystemdReloadOrRestartGroupNoBlock});
    Add<int(List)>({"a"}, {MEROCSystemdEnableGroup, MEROCSystemdEnableGroupInGenerator, MEROCSystemdDisableGroup,
        MEROCSystemdDisableGroupInGenerator, MEROCSystemdReenableGroup, MEROCSystemdMaskGroup,
        MEROCSystemdUnmaskGroup, MEROCSystemdUninstallGroup});
    Add<int()>({}, {MEROCSystemdDaemonReload, MEROCSystemdIsolateToDefaultTarget, MEROCSystemdRunAsSystemProcess});
    Add<int(const char*, const char*)>({"old", "a"}, {MEROCSystemdServiceStopByReason, MEROCSystemdServiceStartByReason,
        MEROCSystemdServiceReasonRemove});
    Add<int(const char*, List, Lists)>({"new", "a"}, {MEROCSystemdServiceStopGroupByReason,
        MEROCSystemdServiceStartGroupByReason, MEROCSystemdServiceReasonRemoveGroup});
    Add<int(const char*, const char*)>({"a", kVolume}, {MEROCSystemdVolumeRegister, MEROCSystemdVolumeUnregister});
    Add<int(const char*, const char*)>({"P", "/new"}, {MEROCSystemdPackageVolumeRegister,
        MEROCSystemdPackageVolumeUnregister});
    Add<int(const char*, Lists)>({"a"}, {MEROCSystemdServiceReasonList, MEROCSystemdFirewallSectionsGet});
    Add<int(const char*, Lists)>({kVolume}, {MEROCSystemdServiceListByMntPath});
    Add<int(Lists)>({}, {MEROCSystemdServiceList, MEROCSystemdSliceList});
    Add<int(char*, int)>({"256"}, {MEROCSystemdDefaultTargetGet, MEROCSystemdCgroupMonitorSliceGet});
    Add<int(const char*, char*, int)>({"a", "256"}, {MEROCSystemdNameGet, MEROCSystemdNameI18nGet});
    Add<int(const char*, bool*)>({"a"}, {MEROCSystemdIsSupportGet, MEROCSystemdSupportOneClickEnableGet,
        MEROCSystemdIsDefaultEnableGet, MEROCSystemdInfoCenterDislayGet, MEROCSystemdNanoUpdateDislayGet});
    Add<int(const char*, MERO_SYSTEMD_VOLUME_DEPENDENCY*)>({"a"}, {MEROCSystemdVolumeDependencyGet});
    Add<int(MERO_SYSTEMD_ISOLATE_STATE*)>({}, {MEROCSystemdIsolateStateGet});
    Add<int(const char*, Action, void*)>({"b.target"}, {MEROCSystemdIsolateTargetAction});
    Add<int(const char*, Action, void*)>({kVolume}, {MEROCSystemdVolumeUnmountAction});
    Add<int(List, Action, void*)>({kVolume}, {MEROCSystemdVolumeGroupUnmountAction});
}

void AddUnitFunctions()
{
    Add<bool(Text)>({"a"}, {MEROSystemdStart, MEROSystemdStartNoBlock, MEROSystemdStartIrreversibly, MEROSystemdStop,
        MEROSystemdStopNoBlock, MEROSystemdRestart, MEROSystemdRestartNoBlock, MEROSystemdTryRestart,
        MEROSystemdTryRestartNoBlock, MEROSystemdReload, MEROSystemdReloadNoBlock, MEROSystemdReloadOrRestart,
        MEROSystemdReloadOrRestartNoBlock, MEROSystemdEnable, MEROSystemdEnableInGenerator, MEROSystemdDisable,
        MEROSystemdDisableInGenerator, MEROSystemdReenable, MEROSystemdMask, MEROSystemdMaskRunTime,
        MEROSystemdUnmask, MEROSystemdUnmaskRunTime, MEROSystemdUninstall, MEROSystemdDefaultTargetSet,
        MEROSystemdDefaultTargetSetInGenerator, MEROSystemdIsJobEnqueued, CheckServiceHasReason});
    Add<bool(const Texts&, Texts&)>({"a"}, {MEROSystemdStart, MEROSystemdStartNoBlock, MEROSystemdStop,
        MEROSystemdStopNoBlock, MEROSystemdRestart, MEROSystemdRestartNoBlock, MEROSystemdTryRestart,
        MEROSystemdTryRestartNoBlock, MEROSystemdReload, MEROSystemdReloadNoBlock, MEROSystemdReloadOrRestart,
        MEROSystemdReloadOrRestartNoBlock, MEROSystemdEnable, MEROSystemdEnableInGenerator, MEROSystemdDisable,
        MEROSystemdDisableInGenerator, MEROSystemdReenable, MEROSystemdMask, MEROSystemdUnmask,
        MEROSystemdResetFailed, MEROSystemdUninstall});
    Add<bool(const Texts&, const Texts&, Texts&)>({"--quiet", "a"}, {MEROSystemdStartWithOptions,
        MEROSystemdStopWithOptions, MEROSystemdRestartWithOptions, MEROSystemdTryRestartWithOptions,
        MEROSystemdReloadWithOptions, MEROSystemdReloadOrRestartWithOptions, MEROSystemdEnableWithOptionsInternal,
        MEROSystemdDisableWithOptionsInternal});
    Add<bool(const Texts&, const CommandOptions&, Texts&)>({"a"}, {MEROSystemdEnableWithOptions,
        MEROSystemdDisableWithOptions});
    Add<int(Text)>({"a"}, {MEROSystemdLoadStatusGet, MEROSystemdActiveStatusGet, MEROSystemdActiveStatusGetSystem,
        MEROSystemdEnableStatusGet, MEROSystemdEnableStatusGetSystem, MEROSystemdEnableStatusGetInGenerator});
    Add<int(const Texts&, Text)>({"--quiet", "a"}, {MEROSystemdEnableStatusGetWithOptions});
    Add<bool(const Texts&, Text)>({"--quiet", "a"}, {MEROSystemdIntDefaultTargetSet});
    Add<bool(Text, Text, std::string&)>({"a", "Id"}, {MEROSystemdShow, MEROSystemdShowSystem});
    Add<bool(Text, bool&)>({"a"}, {MEROSystemdIsSupportGet, MEROSystemdSupportOneClickEnableGet,
        MEROSystemdIsDefaultEnableGet, MEROSystemdInfoCenterDisplayGet, MEROSystemdNanoUpdateDislayGet,
        MEROSystemdServiceSkipListByMntPath});
    Add<bool(Text, std::string&)>({"a"}, {MEROSystemdNameGet, MEROSystemdNameI18nGet});
    Add<bool(Text, Texts&)>({"a"}, {MEROSystemdFirewallSectionsGet, MEROSystemdBelongsToGet, MEROSystemdPackedInGet,
        MEROSystemdServiceReasonList});
    Add<bool(Text, MERO_SYSTEMD_VOLUME_DEPENDENCY&)>({"a"}, {MEROSystemdVolumeDependencyGet});
    Add<bool(std::string, Icon&)>({"a"}, {MEROSystemdIconGet});
    Add<bool(Texts&, Text)>({"service"}, {MEROSystemdListUnits});
    Add<bool(Texts&)>({}, {MEROSystemdServiceList, MEROSystemdSliceList, ListServicesWithReason});
    Add<bool(std::string&)>({}, {MEROSystemdDefaultTargetGet, MEROSystemdCgroupMonitorSliceGet});
    Add<bool(Text, JobInfo&)>({"a"}, {MEROSystemdIntJobGet});
    Add<bool(std::map<std::uint32_t, JobInfo>&)>({}, {MEROSystemdIntJobList});
    Add<bool()>({}, {MEROSystemdDaemonReload, MEROSystemdIsolateToDefaultTarget, MEROSystemdRunAsSystemProcess});
    Add<void()>({}, {MEROSystemdPutEnvByPAMSystemd});
}

void AddOtherFunctions()
{
    Add<bool(Text, Text)>({"old", "a"}, {MEROSystemdServiceStopByReason, MEROSystemdServiceStartByReason,
        MEROSystemdServiceReasonRemove});
    Add<bool(Text, const Texts&, Texts&)>({"new", "a"}, {MEROSystemdServiceStopByReason,
        MEROSystemdServiceStartByReason, MEROSystemdServiceReasonRemove});
    Add<bool(Text, const Texts&, Texts&, Texts&)>({"old", "a"}, {UnlinkReasons});
    Add<bool(Text, Text)>({"/run/systemd/system/a.service.d/", "/run/drop-in"}, {LinkMeroReason});
    Add<bool(Text, Text)>({"a", kVolume}, {MEROSystemdVolumeRegister, MEROSystemdVolumeUnregister});
    Add<bool(Text, Text)>({"P", "/new"}, {MEROSystemdPackageVolumeRegister, MEROSystemdPackageVolumeUnregister});
    Add<bool(Text, const Texts&)>({"a", "/old"}, {MEROSystemdVolumeIsRegisteredByUnit});
    Add<bool(Text, const Texts&)>({"P", "/old"}, {MEROSystemdVolumeIsRegisteredByPackage});
    AddThrowing<bool(Text, Texts&)>({"/old"}, MEROSystemdListPackageByRegisteredVolume);
    Add<bool(Text, Texts&)>({kVolume}, {MEROSystemdServiceListByMntPath});
    Add<bool(std::vector<VolumeRegistration>&)>({}, {MEROSystemdVolumeRegisterList});
    Add<bool(const Texts&, VolumeUnmountPlan&)>({kVolume}, {MEROSystemdVolumeUnmountPlan});
    Add<bool(const Texts&, std::function<bool()>&&)>({kVolume}, {_MEROSystemdVolumeUnmountAction});
    Add<bool(Text, std::function<bool()>&&)>({"b.target"}, {_MEROSystemdIsolateTargetAction});
    Add<bool(Text, const IsolateOptions&, Result*)>({"b.target"}, {MEROSystemdIsolateTarget, MEROSystemdIntIsolateTarget});
    Add<bool(Text, Result*)>({"b.target"}, {MEROSystemdIsolateTarget, MEROSystemdIntIsolateTarget});
    Add<bool(IsolateState&)>({}, {MEROSystemdIsolateStateGet});
    Add<bool(Text)>({"a.slice"}, {MEROSystemdKillSlice, MEROSystemdCgroupMonitorSliceMove,
        MEROSystemdCgroupSystemdSliceMove});
    Add<bool(Text, const std::function<void(KillPhase)>&)>({"a.slice"}, {MEROSystemdKillSlice});
    Add<bool(int, Text, std::string&)>({std::to_string(getpid()), "name=systemd"}, {MEROSystemdCgroupPathnameGet});
    Add<bool(int, std::string&)>({std::to_string(getpid())}, {MEROSystemdGetByPid, Process::NameGet});
    Add<bool(int, unsigned long&)>({std::to_string(getpid())}, {Process::PssGet});
    Add<bool(int, unsigned long&, unsigned long&)>({std::to_string(getpid())}, {Process::CPUTickGet, Process::IOGet});
    Add<bool(unsigned long&)>({}, {Process::TotalTickGet});
    Add<bool(Text, std::set<Process>&)>({"a.slice"}, {Slice::ProcessList});
    AddThrowing<bool(Text, const SystemctlOpts&, const Texts&, SystemctlCallback&&)>({"start", "a"},
                                                                                    MEROSystemdSystemctlUltron);
    AddThrowing<bool(Text, const Texts&, const Texts&, SystemctlCallback&&)>({"stop", "", "a"}, MEROSystemdSystemctl);
    AddThrowing<bool(Text, const Texts&, SystemctlCallback&&)>({"stop", "a"}, MEROSystemdSystemctl);
    AddMember("Process::Process, and what it tells", true, [] {
        const Process process(getpid());
        return process.CPUTimeGet() >= 0 && process.CPUUtilizationGet() >= 0 && process.IOUtilizationGet().first >= 0;
    });
    AddMember("Slice::Slice", true, [] { return Slice("a.slice").IconGet().name == "i"; });
    AddMember("CommandOptions, SystemctlOptsBuilder, JobInfo::ToString", true, [] {
        CommandOptions options;
        options = std::move(CommandOptions().SetNoReload().SetRunTime());
        const JobInfo job{1, "a.service", JobType::Start, JobState::Waiting};
        return CommandOptions(std::move(options)).GetImp() != nullptr && !job.ToString().empty() &&
               SystemctlOptsBuilder().SetCmdOpts(nullptr).SetCalRunTime(true).SetForceSystem(true).Build().calRunTime;
    });
}

constexpr const char* kWorking = R"(case "$*" in
list-jobs*) echo '7 a.service start waiting';;
list-unit-files*) echo 'a.service enabled enabled';;
*LoadState*) echo LoadState=loaded;;
*ActiveState*) echo ActiveState=active;;
*DropInPaths*) printf 'FragmentPath=/run/fragment\nDropInPaths=/run/one /run/two\n';;
show*) echo Id=a.service;;
is-enabled*) echo enabled;;
get-default*) echo multi-user.target;;
esac)";

} // namespace

void AroundEachCall(std::function<void()> first, std::function<void()> last)
{
    before = std::move(first);
    after = std::move(last);
}

// clang-format on

const std::vector<Function>& Functions()
{
    if (table.empty()) {
        AddC();
        AddUnitFunctions();
        AddOtherFunctions();
    }
    return table;
}

World::World(StandIn systemctl)
{
    namespace fs = std::filesystem;
    const std::string keys =
        "[X-Tarvix]\nName=n\nNameI18n=s:k\nSupportKey=k\nFirewallSections=f g\nBelongsTo=b.target\n"
        "PackedIn=b.target\nIconName=i\nIconPath=p\nVolumeDependency=all\nDefaultEnable=yes\n"
        "SupportOneClickEnable=yes\nInfoCenterDisplay=yes\nNanoUpdateDisplay=yes\n"
        "SkipListByMntPath=yes\nSliceKillTimeoutSec=0\n";
    const std::string cgroups = "/sys/fs/cgroup/";
    fs::remove_all(cgroups);
    Write("/usr/lib/systemd/system/a.service", keys);
    Write("/usr/lib/systemd/system/a.slice", keys);
    Write("/usr/mero/etc/support.conf", "k=yes\n");
    Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n");
    Write("/usr/mero/etc/merosystemd/volume-register/a.service", "[\"/old\"]\n");
    WriteProgram("/usr/mero/bin/merologset", "exit 0\n");
    WriteProgram("/usr/mero/lib/systemd/scripts/mero-systemd-status-monitor.sh", "exit 0\n");
    Write("/var/packages/P/etc/meropkg_conf/reg_volume", "[\"/old\"]\n");
    Write("/run/merosystemd/reasons/a.service/old", "");
    for (const char* file : {"/run/fragment", "/run/one", "/run/two", "/run/drop-in", "/run/pool/file"}) {
        Write(file, "");
    }
    Write("/run/merosystemd/isolate-state", "target=b.target\npid=" + std::to_string(getpid()) + "\n");
    for (const char* folder : {"systemd/a.slice", "meromonitor/a.slice", "systemd"}) {
        Write(cgroups + folder + "/tasks", "");
        Write(cgroups + folder + "/cgroup.procs", "1\n");
    }
    InCgroups();
    if (systemctl == StandIn::Missing) {
        RemoveSystemctl();
    } else {
        SystemctlScript(systemctl == StandIn::Works ? kWorking : "echo Job for a.service failed.; exit 1");
    }
}

World::~World()
{
    umount2("/proc/self/cgroup", MNT_DETACH);
}

void World::InCgroups()
{
    Write("/run/cgroup", "2:name=meromonitor:/a.slice\n1:name=systemd:/a.slice/b.service\n");
    if (mount("/run/cgroup", "/proc/self/cgroup", nullptr, MS_BIND, nullptr) != 0) {
        throw std::runtime_error("cannot mount /proc/self/cgroup");
    }
}

} // namespace MERO::Torture
