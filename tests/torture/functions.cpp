#include "torture/functions.h"

#include "support/operations.h"

#include <merosystemd/resource.hpp>

#include <cxxabi.h>
#include <dlfcn.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstring>
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
using Text = const std::string&;
using List = const MLIBCSzList*;
using Result = MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT;

const std::string kVolume = "/run/pool";

std::string Demangled(const char* name)
{
    int status = 0;
    char* text = abi::__cxa_demangle(name, nullptr, nullptr, &status);
    std::string demangled = status == 0 ? text : name;
    std::free(text);
    for (const auto& [type, shown] : {std::pair("std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >", "string"),
                                      {"std::vector<string, std::allocator<string > >", "Texts"}}) {
        for (std::size_t at; (at = demangled.find(type)) != demangled.npos;) {
            demangled.replace(at, std::strlen(type), shown);
        }
    }
    return demangled;
}

/// What the parameters of one call are made from: the texts of its row, in turn.
struct Turn {
    Texts texts;
    int bad = -1;         ///< which of the ways, in the order in which the parameters ask for them
    bool isAsked = false; ///< there is no call: what ways are there?
    Texts ways = {};
    int parameter = 0;
    std::size_t at = 0;

    Turn& Next() { return ++parameter, *this; }
    std::string Text() { return at < texts.size() ? texts[at++] : ""; }
    bool Is(const std::string& way)
    {
        ways.push_back(std::to_string(parameter) + " " + way);
        return static_cast<int>(ways.size()) - 1 == bad;
    }
};

/// What an output holds; of options and actions nothing.
template <typename T> std::string Shown(const T& value)
{
    if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>) {
        return std::to_string(static_cast<int>(value)) + ";";
    } else if constexpr (std::is_convertible_v<T, std::string>) {
        return std::string(value) + ";";
    } else if constexpr (std::is_array_v<T>) {
        return Shown(value[0]);
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
    } else if constexpr (requires { value.owner; }) {
        return Shown(value.owner) + Shown(value.volumes);
    }
    return "";
}

template <typename T> void SetUp(T&) {}
template <typename R, typename... Args> void SetUp(std::function<R(Args...)>& action) { action = [](Args...) { return R(true); }; }

/// A parameter of one type. Inputs come from the row; those of C++ that are listed nowhere are outputs, options, actions.
template <typename T> struct Argument {
    explicit Argument(Turn&) { SetUp(value); }
    operator T() { return static_cast<T>(value); }
    std::string Stored() { return Shown(value); }
    std::remove_cvref_t<T> value{};
};
template <typename T> struct Argument<T*> { ///< an output
    explicit Argument(Turn& turn) : isNull(turn.Is("is a null output")) {}
    operator T*() { return isNull ? nullptr : value; }
    std::string Stored() { return Shown(value); }
    bool isNull;
    T value[std::is_same_v<T, char> ? 256 : 1]{};
};
template <> struct Argument<MLIBCSzList**> {
    explicit Argument(Turn& turn) : isNull(turn.Is("is a null output")), value(turn.Is("leads to null") ? nullptr : MLIBCSzListAlloc()) {}
    Argument(const Argument&) = delete;
    Argument(Argument&& other) : isNull(other.isNull), value(std::exchange(other.value, nullptr)) {}
    ~Argument() { MLIBCSzListFree(value); }
    operator MLIBCSzList**() { return isNull ? nullptr : &value; }
    std::string Stored() { return Shown(Test::Items(value)); }
    bool isNull;
    MLIBCSzList* value;
};
struct Input {
    std::string Stored() { return ""; }
};
template <> struct Argument<Text> : Input {
    explicit Argument(Turn& turn) : value(turn.Text()) { turn.Is("is empty") ? value.clear() : void(); }
    operator Text() { return value; }
    std::string value;
};
template <> struct Argument<std::string> : Argument<Text> {
    using Argument<Text>::Argument;
};
template <> struct Argument<const char*> : Input {
    explicit Argument(Turn& turn) : isNull(turn.Is("is a null text")), text(turn) {}
    operator const char*() { return isNull ? nullptr : text.value.c_str(); }
    bool isNull;
    Argument<Text> text;
};
template <> struct Argument<const Texts&> : Input {
    explicit Argument(Turn& turn) : value{turn.Text()} { turn.Is("is empty") || value[0].empty() ? value.clear() : void(); }
    operator const Texts&() { return value; }
    Texts value;
};
template <> struct Argument<List> : Input {
    explicit Argument(Turn& turn) : isNull(turn.Is("is a null list")), texts(turn), value(Test::MakeList(texts.value))
    {
        turn.Is("holds null") ? void(value = Test::ListWithNull()) : void();
    }
    operator List() { return isNull ? nullptr : value.get(); }
    bool isNull;
    Argument<const Texts&> texts;
    Test::List value;
};
template <> struct Argument<int> : Input {
    explicit Argument(Turn& turn) : value(std::stoi(turn.Text())) { turn.Is("is -1") ? void(value = -1) : turn.Is("is 0") ? void(value = 0) : void(); }
    operator int() { return value; }
    int value;
};
template <> struct Argument<void*> : Input {
    explicit Argument(Turn&) {}
    operator void*() { return nullptr; }
};
template <> struct Argument<Action> : Input {
    explicit Argument(Turn& turn) : isNull(turn.Is("is a null action")) {}
    operator Action() { return isNull ? nullptr : +[](void*) { return true; }; }
    bool isNull;
};

std::vector<Function> table;

/// Outside of the call itself nothing may fail on purpose: see fault_points.h.
std::function<void()> before = [] {}, after = [] {};

Answer Guarded(bool (*call)(void*), void* data)
{
    Answer answer;
    try {
        before();
        answer.done = call(data);
        after();
    } catch (...) {
        after();
        answer.thrown = Demangled(abi::__cxa_current_exception_type()->name());
    }
    return answer;
}

template <typename R> bool IsDone(const std::string& name, R result)
{
    return name.find("StatusGet") != name.npos ? static_cast<int>(result) >= 0 : static_cast<int>(result) == 1;
}

void AddRow(const void* address, const Texts& texts, std::function<Answer(const std::string&, Turn&)> call)
{
    Dl_info info{};
    dladdr(address, &info);
    const std::string symbol = info.dli_sname != nullptr ? info.dli_sname : "?";
    Turn question{.texts = texts, .isAsked = true};
    const std::string untouched = call(symbol, question).text;
    const bool mayThrow = symbol.find("SystemdSystemctl") != symbol.npos || symbol.find("ListPackage") != symbol.npos;
    table.push_back({Demangled(symbol.c_str()), address, question.ways, untouched, symbol.starts_with("MEROC"), mayThrow,
                     [=](int bad) {
                         Turn turn{.texts = texts, .bad = bad};
                         return call(symbol, turn);
                     }});
}

template <typename R, typename... Args> void AddOne(const Texts& texts, R (*function)(Args...))
{
    AddRow(reinterpret_cast<const void*>(function), texts, [function](const std::string& symbol, Turn& turn) {
        std::tuple<Argument<Args>...> arguments{Argument<Args>(turn.Next())...};
        auto call = [&] {
            return std::apply([&](auto&... argument) {
                if constexpr (std::is_void_v<R>) {
                    return function(static_cast<Args>(argument)...), true;
                } else {
                    return IsDone(symbol, function(static_cast<Args>(argument)...));
                }
            }, arguments);
        };
        Answer answer = turn.isAsked ? Answer() : Guarded([](void* data) { return (*static_cast<decltype(call)*>(data))(); }, &call);
        std::apply([&](auto&... argument) { ((answer.text += argument.Stored()), ...); }, arguments);
        return answer;
    });
}

/// Functions that are given the same texts, each as many as it takes.
template <typename... Shapes> void Add(const Texts& texts, Shapes*... functions)
{
    (AddOne(texts, functions), ...);
}

void AddMembers(const std::string& name, bool (*body)(void*))
{
    table.push_back({name, nullptr, {}, "", false, true, [=](int) { return Guarded(body, nullptr); }});
}

template <typename Shape> Shape* As(Shape* function) { return function; }

using Single = bool(Text);
using Group = bool(const Texts&, Texts&);
#define MERO_BOTH(name) MEROSystemd##name, MEROCSystemd##name
#define MERO_ACTION(name) \
    Add({"--quiet", "a"}, MEROSystemd##name##WithOptions); \
    Add({"a"}, As<Single>(MEROSystemd##name), As<Single>(MEROSystemd##name##NoBlock), As<Group>(MEROSystemd##name), \
        As<Group>(MEROSystemd##name##NoBlock), MEROCSystemd##name, MEROCSystemd##name##NoBlock, \
        MEROCSystemd##name##Group, MEROCSystemd##name##GroupNoBlock);
#define MERO_ENABLEMENT(name, group) \
    Add({"a"}, As<Single>(MEROSystemd##name), As<Group>(MEROSystemd##name), MEROCSystemd##name, MEROCSystemd##group);
#define MERO_REASON(name, group) \
    Add({"old", "a"}, As<bool(Text, Text)>(MEROSystemd##name), MEROCSystemd##name); \
    Add({"new", "a"}, As<bool(Text, const Texts&, Texts&)>(MEROSystemd##name), MEROCSystemd##group);

void AddFunctions()
{
    MERO_ACTION(Start) MERO_ACTION(Stop) MERO_ACTION(Restart) MERO_ACTION(TryRestart) MERO_ACTION(Reload)
    MERO_ACTION(ReloadOrRestart)
    MERO_ENABLEMENT(Enable, EnableGroup) MERO_ENABLEMENT(EnableInGenerator, EnableGroupInGenerator)
    MERO_ENABLEMENT(Disable, DisableGroup) MERO_ENABLEMENT(DisableInGenerator, DisableGroupInGenerator)
    MERO_ENABLEMENT(Reenable, ReenableGroup) MERO_ENABLEMENT(Mask, MaskGroup) MERO_ENABLEMENT(Unmask, UnmaskGroup)
    MERO_ENABLEMENT(Uninstall, UninstallGroup)
    MERO_REASON(ServiceStopByReason, ServiceStopGroupByReason) MERO_REASON(ServiceStartByReason, ServiceStartGroupByReason)
    MERO_REASON(ServiceReasonRemove, ServiceReasonRemoveGroup)
    Add({"a", "256"}, MERO_BOTH(StartIrreversibly), MERO_BOTH(MaskRunTime), MERO_BOTH(UnmaskRunTime),
        MERO_BOTH(DefaultTargetSet), MERO_BOTH(DefaultTargetSetInGenerator), MERO_BOTH(IsJobEnqueued),
        MERO_BOTH(LoadStatusGet), MERO_BOTH(ActiveStatusGet), MERO_BOTH(ActiveStatusGetSystem),
        MERO_BOTH(EnableStatusGet), MERO_BOTH(EnableStatusGetSystem), MERO_BOTH(EnableStatusGetInGenerator),
        MERO_BOTH(IsSupportGet), MERO_BOTH(SupportOneClickEnableGet), MERO_BOTH(IsDefaultEnableGet),
        MEROSystemdInfoCenterDisplayGet, MEROCSystemdInfoCenterDislayGet, MERO_BOTH(NanoUpdateDislayGet),
        MERO_BOTH(NameGet), MERO_BOTH(NameI18nGet), MERO_BOTH(FirewallSectionsGet), MERO_BOTH(ServiceReasonList),
        MERO_BOTH(VolumeDependencyGet), MEROSystemdResetFailed, MEROSystemdEnableWithOptions,
        MEROSystemdDisableWithOptions, MEROSystemdBelongsToGet, MEROSystemdPackedInGet, MEROSystemdIconGet,
        MEROSystemdServiceSkipListByMntPath, MEROSystemdIntJobGet, CheckServiceHasReason);
    Add({}, MERO_BOTH(DaemonReload), MERO_BOTH(IsolateToDefaultTarget), MERO_BOTH(RunAsSystemProcess),
        MERO_BOTH(ServiceList), MERO_BOTH(SliceList), MERO_BOTH(IsolateStateGet), ListServicesWithReason,
        MEROSystemdIntJobList, MEROSystemdVolumeRegisterList, MEROSystemdPutEnvByPAMSystemd, Process::TotalTickGet);
    Add({"256"}, MERO_BOTH(DefaultTargetGet), MERO_BOTH(CgroupMonitorSliceGet));
    Add({"a.slice"}, MERO_BOTH(CgroupMonitorSliceMove), MERO_BOTH(CgroupSystemdSliceMove), As<Single>(MEROSystemdKillSlice),
        As<bool(Text, const std::function<void(KillPhase)>&)>(MEROSystemdKillSlice), Slice::ProcessList);
    Add({"b.target"}, _MEROSystemdIsolateTargetAction, MEROCSystemdIsolateTargetAction,
        As<bool(Text, Result*)>(MEROSystemdIsolateTarget), As<bool(Text, Result*)>(MEROSystemdIntIsolateTarget),
        As<bool(Text, const IsolateOptions&, Result*)>(MEROSystemdIsolateTarget),
        As<bool(Text, const IsolateOptions&, Result*)>(MEROSystemdIntIsolateTarget));
    Add({kVolume}, MERO_BOTH(ServiceListByMntPath), _MEROSystemdVolumeUnmountAction, MEROCSystemdVolumeUnmountAction,
        MEROCSystemdVolumeGroupUnmountAction, MEROSystemdVolumeUnmountPlan);
    Add({"a", kVolume}, MERO_BOTH(VolumeRegister), MERO_BOTH(VolumeUnregister));
    Add({"P", "/new"}, MERO_BOTH(PackageVolumeRegister), MERO_BOTH(PackageVolumeUnregister));
    Add({"a", "/old"}, MEROSystemdVolumeIsRegisteredByUnit);
    Add({"P", "/old"}, MEROSystemdVolumeIsRegisteredByPackage);
    Add({"/old"}, MEROSystemdListPackageByRegisteredVolume);
    Add({"old", "a"}, UnlinkReasons);
    Add({"/run/systemd/system/a.service.d/", "/run/drop-in"}, LinkMeroReason);
    Add({"--quiet", "a"}, MEROSystemdEnableWithOptionsInternal, MEROSystemdDisableWithOptionsInternal,
        MEROSystemdEnableStatusGetWithOptions, MEROSystemdIntDefaultTargetSet);
    Add({"a", "Id"}, MEROSystemdShow, MEROSystemdShowSystem);
    Add({"service"}, MEROSystemdListUnits);
    Add({std::to_string(getpid()), "name=systemd"}, MEROSystemdCgroupPathnameGet, MEROSystemdGetByPid, Process::NameGet,
        Process::PssGet, Process::CPUTickGet, Process::IOGet);
    Add({"start", "a"}, MEROSystemdSystemctlUltron, As<bool(Text, const Texts&, SystemctlCallback&&)>(MEROSystemdSystemctl));
    Add({"stop", "", "a"}, As<bool(Text, const Texts&, const Texts&, SystemctlCallback&&)>(MEROSystemdSystemctl));
    AddMembers("Process::Process, and what it tells", [](void*) {
        const Process process(getpid());
        return process.CPUTimeGet() >= 0 && process.CPUUtilizationGet() >= 0 && process.IOUtilizationGet().first >= 0;
    });
    AddMembers("Slice::Slice", [](void*) { return Slice("a.slice").IconGet().name == "i"; });
    AddMembers("CommandOptions, SystemctlOptsBuilder, JobInfo::ToString", [](void*) {
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

// clang-format on

void AroundEachCall(std::function<void()> first, std::function<void()> last)
{
    before = std::move(first);
    after = std::move(last);
}

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
             {"/usr/mero/etc/support.conf", "k=yes\n"},
             {"/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n"},
             {"/usr/mero/etc/merosystemd/volume-register/a.service", "[\"/old\"]\n"},
             {"/var/packages/P/etc/meropkg_conf/reg_volume", "[\"/old\"]\n"},
             {"/run/merosystemd/reasons/a.service/old", ""},
             {"/run/merosystemd/isolate-state", "target=b.target\npid=" + std::to_string(getpid()) + "\n"},
             {"/run/fragment", ""},
             {"/run/one", ""},
             {"/run/two", ""},
             {"/run/drop-in", ""},
             {kVolume + "/file", ""},
             {"/sys/fs/cgroup/systemd/a.slice/tasks", ""},
             {"/sys/fs/cgroup/systemd/a.slice/cgroup.procs", "1\n"},
             {"/sys/fs/cgroup/systemd/tasks", ""},
             {"/sys/fs/cgroup/meromonitor/a.slice/tasks", ""},
         }) {
        Write(path, text);
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
