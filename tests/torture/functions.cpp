#include "support/operations.h"
#include "support/texts.h"
#include "torture/torture.h"

#include <merosystemd/resource.hpp>

#include <boost/core/demangle.hpp>
#include <dlfcn.h>
#include <sys/mount.h>

#include <array>
#include <memory>
#include <tuple>
#include <type_traits>
#include <typeinfo>

namespace MERO::Torture {
namespace {

using namespace MERO::Systemd;
using namespace std::string_literals;
using Action = bool (*)(void*);
using Text = const std::string&;
using Result = MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT;

const std::string kVolume = "/run/pool";

std::string Demangled(const char* name)
{
    const std::string string = "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >";
    return Test::Replaced(boost::core::demangle(name), string, "string");
}

/// The text of an output; empty for options and actions.
template <typename T>
std::string Shown(const T& value)
{
    if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>) {
        return std::to_string(static_cast<int>(value)) + ";";
    } else if constexpr (std::is_convertible_v<T, std::string>) {
        return std::string(value) + ";";
    } else if constexpr (std::is_same_v<T, std::shared_ptr<MLIBCSzList*>>) {
        return Shown(Test::Items(*value));
    } else if constexpr (requires { value.begin(); }) {
        std::string shown;
        for (const auto& item : value) {
            shown += Shown(item);
        }
        return shown + ";";
    } else if constexpr (requires { value.second; }) {
        return Shown(value.second);
    } else if constexpr (requires { value.ToString(); }) {
        return Shown(value.ToString());
    } else if constexpr (requires { value.target; }) {
        return Shown(std::string(value.target));
    } else if constexpr (requires { value.path; }) {
        return Shown(value.name) + Shown(value.path);
    } else if constexpr (requires { value.asked; }) {
        return Shown(value.asked) + Shown(value.properties);
    } else if constexpr (requires { value.owner; }) {
        return Shown(value.owner) + Shown(value.volumes);
    }
    return "";
}

/// One call and its arguments.
struct Turn {
    Texts texts;          ///< the row's; the inputs take them in order
    int bad;              ///< index of the way in which an argument is bad
    std::string way = {}; ///< its description
    int ways = 0, parameter = 0;
    std::vector<std::shared_ptr<void>> kept = {};
    std::vector<std::function<std::string()>> outputs = {};

    Turn& Next() { return ++parameter, *this; }
    std::string Input()
    {
        const std::string text = texts.empty() ? "" : texts.front();
        texts.empty() ? texts.end() : texts.erase(texts.begin());
        return text;
    }
    bool Is(const std::string& what)
    {
        const bool isIt = ways++ == bad;
        way = isIt ? std::to_string(parameter) + " " + what : way;
        return isIt;
    }
    template <typename T>
    T& Keep(T value)
    {
        const auto item = std::make_shared<T>(std::move(value));
        kept.push_back(item);
        outputs.push_back([item] { return Shown(*item); });
        return *item;
    }
    std::string Stored() const
    {
        std::string stored;
        for (const auto& output : outputs) {
            stored += output();
        }
        return stored;
    }
};

/// An argument of one type. C++ types that are not listed are outputs, options and actions.
template <typename T>
T Made(Turn& turn)
{
    if constexpr (std::is_same_v<T, Text> || std::is_same_v<T, std::string>) {
        const std::string text = turn.Input();
        return turn.Keep(turn.Is("is empty") ? "" : text);
    } else if constexpr (std::is_same_v<T, const char*>) {
        const bool isNull = turn.Is("is a null text");
        const char* const text = Made<Text>(turn).c_str();
        return isNull ? nullptr : text;
    } else if constexpr (std::is_same_v<T, const Texts&>) {
        const std::string text = turn.Input();
        return turn.Keep(turn.Is("is empty") || text.empty() ? Texts() : Texts{text});
    } else if constexpr (std::is_same_v<T, const MLIBCSzList*>) {
        const bool isNull = turn.Is("is a null list");
        const Texts& texts = Made<const Texts&>(turn);
        const auto& list = turn.Keep(turn.Is("holds null") ? Test::ListWithNull() : Test::MakeList(texts));
        return isNull ? nullptr : list.get();
    } else if constexpr (std::is_same_v<T, MLIBCSzList**>) {
        const bool isNull = turn.Is("is a null output");
        MLIBCSzList* const list = turn.Is("leads to null") ? nullptr : MLIBCSzListAlloc();
        const auto free = [](MLIBCSzList** output) { MLIBCSzListFree(*output), delete output; };
        const auto& output = turn.Keep(std::shared_ptr<MLIBCSzList*>(new MLIBCSzList*(list), free));
        return isNull ? nullptr : output.get();
    } else if constexpr (std::is_same_v<T, int>) {
        const int number = std::stoi(turn.Input());
        const bool isNegative = turn.Is("is -1");
        return isNegative ? -1 : turn.Is("is 0") ? 0 : number;
    } else if constexpr (std::is_same_v<T, void*>) {
        return nullptr;
    } else if constexpr (std::is_same_v<T, Action>) {
        return turn.Is("is a null action") ? nullptr : +[](void*) { return true; };
    } else if constexpr (std::is_same_v<T, MEROSystemdPropertyCallback>) {
        return turn.Is("is a null action") ? nullptr : +[](const char*, const char*, const char*, void*) {};
    } else if constexpr (std::is_pointer_v<T>) {
        using Item = std::remove_pointer_t<T>;
        auto& output = turn.Keep(std::array < Item, std::is_same_v<Item, char> ? 256 : 1 > {});
        return turn.Is("is a null output") ? nullptr : output.data();
    } else {
        auto& value = turn.Keep(std::remove_cvref_t<T>{});
        if constexpr (requires { value.target_type(); }) {
            value = [](auto&&...) { return typename std::remove_cvref_t<T>::result_type(true); };
        }
        return static_cast<T>(value);
    }
}

std::vector<Function> table;

Answer Guarded(const std::function<bool()>& call)
{
    Answer answer;
    try {
        beforeCall();
        answer.done = call();
        afterCall();
    } catch (...) {
        afterCall();
        answer.thrown = Demangled(abi::__cxa_current_exception_type()->name());
    }
    return answer;
}

template <typename R, typename... Args>
void AddOne(const Texts& texts, R (*function)(Args...))
{
    const void* const address = reinterpret_cast<const void*>(function);
    Dl_info info{};
    dladdr(address, &info);
    const std::string name = Demangled(info.dli_sname != nullptr ? info.dli_sname : "?");
    const bool isStatus = name.find("StatusGet") != name.npos;
    const bool mayThrow = name.find("SystemdSystemctl") != name.npos || name.find("ListPackage") != name.npos;
    table.push_back({name, address, mayThrow, [=](int bad) {
                         Turn turn{.texts = texts, .bad = bad};
                         std::tuple<Args...> arguments{Made<Args>(turn.Next())...};
                         const std::string untouched = turn.Stored();
                         Answer answer;
                         if (bad < turn.ways) {
                             answer = Guarded([&] {
                                 if constexpr (std::is_void_v<R>) {
                                     return std::apply(function, std::move(arguments)), true;
                                 } else {
                                     const auto result = static_cast<int>(std::apply(function, std::move(arguments)));
                                     return isStatus ? result >= 0 : result == 1;
                                 }
                             });
                         }
                         answer.text = turn.Stored(), answer.way = turn.way;
                         answer.isUntouched = answer.text == untouched;
                         return answer;
                     }});
}

/// Adds functions that get the same texts, each as many as it takes.
template <typename... Shapes>
void Add(const Texts& texts, Shapes*... functions)
{
    (AddOne(texts, functions), ...);
}

template <typename Shape>
Shape* As(Shape* function)
{
    return function;
}

using Single = bool(Text);
using Group = bool(const Texts&, Texts&);
#define MERO_BOTH(name) MEROSystemd##name, MEROCSystemd##name
#define MERO_ACTION(name)                                                                                              \
    As<Single>(MEROSystemd##name), As<Single>(MEROSystemd##name##NoBlock), As<Group>(MEROSystemd##name),               \
        As<Group>(MEROSystemd##name##NoBlock), MEROCSystemd##name, MEROCSystemd##name##NoBlock,                        \
        MEROCSystemd##name##Group, MEROCSystemd##name##GroupNoBlock
#define MERO_ENABLEMENT(name, group)                                                                                   \
    As<Single>(MEROSystemd##name), As<Group>(MEROSystemd##name), MEROCSystemd##name, MEROCSystemd##group
#define MERO_REASON(name) As<bool(Text, Text)>(MEROSystemd##name), MEROCSystemd##name
#define MERO_REASON_GROUP(name, group) As<bool(Text, const Texts&, Texts&)>(MEROSystemd##name), MEROCSystemd##group

void AddFunctions()
{
    Add({"--quiet", "a"}, MEROSystemdStartWithOptions, MEROSystemdStopWithOptions, MEROSystemdRestartWithOptions,
        MEROSystemdTryRestartWithOptions, MEROSystemdReloadWithOptions, MEROSystemdReloadOrRestartWithOptions,
        MEROSystemdEnableWithOptionsInternal, MEROSystemdDisableWithOptionsInternal, MEROSystemdStartObserved,
        MEROSystemdStopObserved, MEROSystemdRestartObserved, MEROSystemdTryRestartObserved, MEROSystemdReloadObserved,
        MEROSystemdReloadOrRestartObserved, MEROSystemdEnableObserved, MEROSystemdDisableObserved,
        MEROSystemdMaskObserved, MEROSystemdUnmaskObserved, MEROSystemdEnableStatusGetWithOptions,
        MEROSystemdIntDefaultTargetSet);
    Add({"a"}, MERO_ACTION(Start), MERO_ACTION(Stop), MERO_ACTION(Restart), MERO_ACTION(TryRestart),
        MERO_ACTION(Reload), MERO_ACTION(ReloadOrRestart), MERO_ENABLEMENT(Enable, EnableGroup),
        MERO_ENABLEMENT(EnableInGenerator, EnableGroupInGenerator), MERO_ENABLEMENT(Disable, DisableGroup),
        MERO_ENABLEMENT(DisableInGenerator, DisableGroupInGenerator), MERO_ENABLEMENT(Reenable, ReenableGroup),
        MERO_ENABLEMENT(Mask, MaskGroup), MERO_ENABLEMENT(Unmask, UnmaskGroup),
        MERO_ENABLEMENT(Uninstall, UninstallGroup), MEROSystemdResetFailed, MEROSystemdReenableObserved,
        MEROSystemdUninstallObserved, MEROSystemdResetFailedObserved);
    Add({"old", "a"}, MERO_REASON(ServiceStopByReason), MERO_REASON(ServiceStartByReason),
        MERO_REASON(ServiceReasonRemove), UnlinkReasons);
    Add({"new", "a"}, MERO_REASON_GROUP(ServiceStopByReason, ServiceStopGroupByReason),
        MERO_REASON_GROUP(ServiceStartByReason, ServiceStartGroupByReason),
        MERO_REASON_GROUP(ServiceReasonRemove, ServiceReasonRemoveGroup), MEROSystemdServiceStopByReasonObserved,
        MEROSystemdServiceStartByReasonObserved);
    Add({"a", "256"}, MERO_BOTH(StartIrreversibly), MERO_BOTH(MaskRunTime), MERO_BOTH(UnmaskRunTime),
        MEROSystemdDefaultTargetSet, MEROSystemdDefaultTargetSetObserved, MEROCSystemdDefaultTargetSet,
        MERO_BOTH(DefaultTargetSetInGenerator), MERO_BOTH(IsJobEnqueued), MERO_BOTH(LoadStatusGet),
        MERO_BOTH(ActiveStatusGet), MERO_BOTH(ActiveStatusGetSystem), MERO_BOTH(EnableStatusGet),
        MERO_BOTH(EnableStatusGetSystem), MERO_BOTH(EnableStatusGetInGenerator), MERO_BOTH(IsSupportGet),
        MERO_BOTH(SupportOneClickEnableGet), MERO_BOTH(IsDefaultEnableGet), MEROSystemdInfoCenterDisplayGet,
        MEROCSystemdInfoCenterDislayGet, MERO_BOTH(NanoUpdateDislayGet), MERO_BOTH(NameGet), MERO_BOTH(NameI18nGet),
        MERO_BOTH(FirewallSectionsGet), MERO_BOTH(ServiceReasonList), MERO_BOTH(VolumeDependencyGet),
        MEROSystemdEnableWithOptions, MEROSystemdDisableWithOptions, MEROSystemdBelongsToGet, MEROSystemdPackedInGet,
        MEROSystemdIconGet, MEROSystemdServiceSkipListByMntPath, MEROSystemdIntJobGet, CheckServiceHasReason);
    Add({}, MEROSystemdDaemonReload, MEROSystemdDaemonReloadObserved, MEROCSystemdDaemonReload,
        MERO_BOTH(IsolateToDefaultTarget), MERO_BOTH(RunAsSystemProcess), MERO_BOTH(ServiceList), MERO_BOTH(SliceList),
        MERO_BOTH(IsolateStateGet), ListServicesWithReason, MEROSystemdIntJobList, MEROSystemdVolumeRegisterList,
        MEROSystemdPutEnvByPAMSystemd, MEROSystemdVolumeUnmountStateGet, MEROSystemdVolumeUnmountRecover,
        Process::TotalTickGet);
    Add({"256"}, MERO_BOTH(DefaultTargetGet), MERO_BOTH(CgroupMonitorSliceGet));
    Add({"a.slice"}, MERO_BOTH(CgroupMonitorSliceMove), MERO_BOTH(CgroupSystemdSliceMove),
        As<Single>(MEROSystemdKillSlice), As<bool(Text, const std::function<void(KillPhase)>&)>(MEROSystemdKillSlice),
        Slice::ProcessList);
    Add({"b.target"}, _MEROSystemdIsolateTargetAction, MEROCSystemdIsolateTargetAction,
        As<bool(Text, Result*)>(MEROSystemdIsolateTarget), As<bool(Text, Result*)>(MEROSystemdIntIsolateTarget),
        As<bool(Text, const IsolateOptions&, Result*)>(MEROSystemdIsolateTarget), MEROSystemdIsolateTargetObserved,
        As<bool(Text, const IsolateOptions&, Result*)>(MEROSystemdIntIsolateTarget));
    Add({kVolume}, MERO_BOTH(ServiceListByMntPath), _MEROSystemdVolumeUnmountAction, MEROCSystemdVolumeUnmountAction,
        MEROCSystemdVolumeGroupUnmountAction, MEROSystemdVolumeUnmountPlan, MEROSystemdVolumeUnmountFullPlan,
        MEROSystemdVolumeUnmountWithPlan);
    Add({"a", kVolume}, MERO_BOTH(VolumeRegister), MERO_BOTH(VolumeUnregister));
    Add({"P", "/new"}, MERO_BOTH(PackageVolumeRegister), MERO_BOTH(PackageVolumeUnregister));
    Add({"a", "/old"}, MEROSystemdVolumeIsRegisteredByUnit);
    Add({"P", "/old"}, MEROSystemdVolumeIsRegisteredByPackage);
    Add({"/old"}, MEROSystemdListPackageByRegisteredVolume);
    Add({"/run/systemd/system/a.service.d/", "/run/drop-in"}, LinkMeroReason);
    Add({"a", "Id"}, MEROSystemdShow, MEROSystemdShowSystem, MERO_BOTH(ShowProperties),
        MEROSystemdShowPropertiesSystem);
    Add({"service"}, MEROSystemdListUnits);
    Add({std::to_string(getpid()), "name=systemd"}, MEROSystemdCgroupPathnameGet, MEROSystemdGetByPid, Process::NameGet,
        Process::PssGet, Process::CPUTickGet, Process::IOGet);
    Add({"start", "a"}, MEROSystemdSystemctlUltron,
        As<bool(Text, const Texts&, SystemctlCallback&&)>(MEROSystemdSystemctl));
    Add({"stop", "", "a"}, As<bool(Text, const Texts&, const Texts&, SystemctlCallback&&)>(MEROSystemdSystemctl));
    const auto members = [] {
        const Process process(getpid());
        CommandOptions options;
        options = std::move(CommandOptions().SetNoReload().SetRunTime());
        const JobInfo job{1, "a.service", JobType::Start, JobState::Waiting};
        return process.CPUTimeGet() >= 0 && process.CPUUtilizationGet() >= 0 && process.IOUtilizationGet().first >= 0 &&
               Slice("a.slice").IconGet().name == "i" && CommandOptions(std::move(options)).GetImp() != nullptr &&
               !job.ToString().empty() &&
               SystemctlOptsBuilder().SetCmdOpts(nullptr).SetCalRunTime(true).SetForceSystem(true).Build().calRunTime;
    };
    table.push_back(
        {"members of classes", nullptr, true, [=](int bad) { return bad < 0 ? Guarded(members) : Answer(); }});
}

constexpr const char* kWorking = R"(case "$*" in
list-jobs*) echo '7 a.service start waiting';;
list-unit-files*) echo 'a.service enabled enabled';;
*LoadState*) echo LoadState=loaded;;
*ActiveState*) echo ActiveState=active;;
*DropInPaths*) printf 'FragmentPath=/run/fragment\nDropInPaths=/run/one /run/two\n';;
show*) printf 'Id=a.service\nNames=a.service\n';;
is-enabled*) echo enabled;;
get-default*) echo multi-user.target;;
esac)";

} // namespace

const std::vector<Function>& Functions()
{
    if (table.empty()) {
        AddFunctions();
    }
    return table;
}

World::World(StandIn systemctl)
{
    const std::string keys =
        "[X-Tarvix]\nName=n\nNameI18n=s:k\nSupportKey=k\nFirewallSections=f g\nBelongsTo=b.target\n"
        "PackedIn=b.target\nIconName=i\nIconPath=p\nVolumeDependency=all\nDefaultEnable=yes\n"
        "SupportOneClickEnable=yes\nInfoCenterDisplay=yes\nNanoUpdateDisplay=yes\n"
        "SkipListByMntPath=yes\nSliceKillTimeoutSec=0\n";
    std::filesystem::remove_all("/sys/fs/cgroup/");
    for (const auto& [path, text] : std::map<std::string, std::string>{
             {"/usr/lib/systemd/system/a.service", keys},
             {"/usr/lib/systemd/system/a.slice", keys},
             {"/usr/mero/etc/support.conf", "k=yes\n" + std::string(5000, '#')}, // more than one read
             {"/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n"},
             {"/usr/mero/etc/merosystemd/volume-register/a.service", "[\"/old\"]\n"},
             {"/var/packages/P/etc/meropkg_conf/reg_volume", "[\"/old\"]\n"},
             {"/run/merosystemd/isolate-state", "target=b.target\npid=" + std::to_string(getpid()) + "\n"},
             {"/sys/fs/cgroup/systemd/a.slice/cgroup.procs", "1\n"},
         }) {
        Write(path, text);
    }
    const std::string cgroups = "/sys/fs/cgroup/";
    for (const std::string& path : {"/run/merosystemd/reasons/a.service/old"s, "/run/fragment"s, "/run/one"s,
                                    "/run/two"s, "/run/drop-in"s, kVolume + "/file", cgroups + "systemd/a.slice/tasks",
                                    cgroups + "systemd/tasks", cgroups + "meromonitor/a.slice/tasks"}) {
        Write(path, "");
    }
    WriteProgram("/usr/mero/bin/merologset", "exit 0\n");
    WriteProgram("/usr/mero/lib/systemd/scripts/mero-systemd-status-monitor.sh", "exit 0\n");
    InCgroups();
    SystemctlScript(systemctl == StandIn::Works ? kWorking : "echo Job for a.service failed.; exit 1");
    systemctl == StandIn::Missing ? RemoveSystemctl() : void();
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
