// Every exported function, called so that it succeeds and so that it fails: bad arguments are refused, the host is left
// as it was, and sixteen threads may call them at once.
#include "torture/functions.h"
#include "torture/torture.h"

#include <merocore/error.h>
#include <merosystemd/systemd.h>

#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cctype>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>

namespace MERO::Torture {

const char* const kName = "host_state";
const Place kPlace = Place::Machine;

namespace {

/// All that a host would notice, a line each.
std::string HostState()
{
    std::ostringstream text;
    const std::set<std::string> kept{"Umask:",  "Uid:",    "Gid:",        "Threads:", "SigBlk:", "SigIgn:",
                                     "SigCgt:", "CapEff:", "NoNewPrivs:", "NSpgid:",  "NSsid:"};
    std::ifstream status("/proc/thread-self/status");
    for (std::string line; std::getline(status, line);) {
        kept.contains(line.substr(0, line.find('\t'))) ? text << line << "\n" : text;
    }
    status.close();
    for (int signal = 1; signal <= 64; ++signal) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0) {
            text << "signal " << signal << " " << reinterpret_cast<const void*>(action.sa_handler) << " "
                 << action.sa_flags << sigismember(&action.sa_mask, SIGUSR1) << "\n";
        }
    }
    for (char** variable = environ; *variable != nullptr; ++variable) {
        text << "variable " << *variable << "\n";
    }
    itimerval timer{};
    getitimer(ITIMER_REAL, &timer);
    text << "alarm " << (timer.it_value.tv_sec != 0) << "\nnice " << getpriority(PRIO_PROCESS, 0) << "\nlocale "
         << setlocale(LC_ALL, nullptr) << "\nfolder " << std::filesystem::current_path().string() << "\n"
         << Machine::Read("/proc/self/limits") << Footprint();
    return text.str();
}

/// A host whose state is nowhere the one that processes begin with.
void BeAHost()
{
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    sigaddset(&blocked, SIGALRM);
    sigprocmask(SIG_SETMASK, &blocked, nullptr);
    signal(SIGPIPE, SIG_IGN);
    for (int handled : {SIGCHLD, SIGUSR2, SIGTERM, SIGRTMIN + 3}) {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        action.sa_flags = handled == SIGTERM ? SA_RESTART : 0;
        sigaddset(&action.sa_mask, SIGUSR1);
        sigaction(handled, &action, nullptr);
    }
    umask(027);
    setenv("HOST", "yes", 1);
    setlocale(LC_ALL, "C.UTF-8");
    std::filesystem::current_path("/usr/share");
    const rlimit files{500, 600};
    setrlimit(RLIMIT_NOFILE, &files);
    setpriority(PRIO_PROCESS, 0, 3);
    (void)!dup(STDIN_FILENO); // not close-on-exec
}

/// Exported functions that the table lacks. Members of classes have no addresses to look for.
void CheckTable(Run& run)
{
    Dl_info library{};
    dladdr(reinterpret_cast<const void*>(MEROCSystemdStart), &library);
    std::set<const void*> known;
    for (const Function& function : Functions()) {
        known.insert(function.address);
    }
    FILE* symbols = popen(("nm -D --defined-only " + std::string(library.dli_fname)).c_str(), "r");
    char type = 0;
    char name[1024];
    while (fscanf(symbols, "%*s %c %1023[^@\n]%*[^\n]", &type, name) == 2) {
        const std::string symbol = name;
        bool isMember = false;
        for (const char* prefix : {"SystemctlOptsBuilder", "CommandOptions", "JobInfo", "7Process", "5Slice"}) {
            isMember |= symbol.starts_with("_ZN") && symbol.find("7Systemd") < 12 && symbol.find(prefix) < 25;
        }
        run.Expect(type != 'T' || isMember || known.contains(dlsym(RTLD_DEFAULT, name)), "the table lacks " + symbol);
    }
    run.Expect(pclose(symbols) == 0 && known.size() > 150, "the exported functions cannot be listed");
}

/// A bad argument is refused: nothing is done, one line is logged, and the call fails with 0x0D00. But for these:
enum class Instead { Works, Fails, Throws };
struct Exception {
    const char *function, *way; ///< what their names hold; the first one that fits is it
    Instead instead;
    const char* why;
};
constexpr Exception kExceptions[] = {
    {"IsolateStateGet", "", Instead::Fails, "it logs a bad parameter, without a code"},
    {"UnlinkReasons", "1 ", Instead::Fails, "it refuses, and names all units as failed"},
    {"MEROCSystemdVolumeUnmountAction", "is empty", Instead::Fails, "a list with a bad path is refused without a line"},
    {"Reason", "holds null", Instead::Fails, "the list's exception is logged"},
    {"UnmountAction", "holds null", Instead::Fails, "the list's exception is logged"},
    {"able", "holds null", Instead::Fails, "the list's exception is logged"},
    {"ask", "holds null", Instead::Fails, "the list's exception is logged"},
    {"Uninstall", "holds null", Instead::Fails, "the list's exception is logged"},
    {"Group", "holds null", Instead::Throws, "that the lists of actions hold none is up to the caller"},
    {"CheckServiceHasReason", "", Instead::Fails, "a question: no"},
    {"IsRegisteredBy", "", Instead::Fails, "a question: no"},
    {"LinkMeroReason", "", Instead::Fails, "there is no such file"},
    {"CgroupPathnameGet", "", Instead::Fails, "there is no such process or hierarchy"},
    {"GetByPid", "", Instead::Fails, "there is no such process"},
    {"Process::", "", Instead::Fails, "there is no such process"},
    {"Slice::ProcessList", "", Instead::Fails, "there is no such slice"},
    {"UnlinkReasons", "2 ", Instead::Works, "there is nothing to do"},
    {"ServiceListByMntPath", "1 is empty", Instead::Works, "every path is below that one"},
    {"ListPackageByRegisteredVolume", "", Instead::Works, "nobody has registered that"},
    {"ListUnits", "", Instead::Works, "units of every type are listed"},
    {"MEROSystemdSystemctl", "", Instead::Works, "systemctl judges its own arguments"},
    {"(Texts const&, Texts const&", "1 ", Instead::Works, "there need be no options"},
    {"(Texts const&, string const&", "1 ", Instead::Works, "there need be no options"},
    {"IsolateTarget(", "null output", Instead::Works, "the result is optional"},
    {"Group", "null output", Instead::Works, "the list of failed units is optional"},
    {"Group", "leads to null", Instead::Works, "the list of failed units is optional"},
};

/// The lines of refused arguments, which programs match: the source files that log them, and the conditions there.
struct Refusals {
    const char *files, *conditions;
};
constexpr Refusals kRefusals[] = {
    {"start stop restart reload reload_or_restart enable disable reenable mask unmask uninstall",
     "!strUnit.empty(); nullptr != szUnit; !vecUnits.empty(); nullptr != pListUnits"},
    {"start_no_block stop_no_block restart_no_block reload_no_block reload_or_restart_no_block enable_in_generator "
     "disable_in_generator",
     "!strUnit.empty(); nullptr != szUnit; nullptr != pListUnits"},
    {"load_status_get active_status_get enable_status_get is_job_enqueued", "!strUnit.empty(); nullptr != szUnit"},
    {"enable_status_get_in_generator", "nullptr != szUnit"},
    {"reset_failed", "!vecUnits.empty()"},
    {"belongs_to_get packed_in_get icon_get", "!strUnit.empty()"},
    {"is_support", "!strUnit.empty(); nullptr != szUnit; nullptr != pblSupport"},
    {"is_default_enable", "!strUnit.empty(); nullptr != szUnit; nullptr != pblDefaultEnable"},
    {"support_one_click_enable", "!strUnit.empty(); nullptr != szUnit; nullptr != pblOneClickEnable"},
    {"info_center_display nano_update_display", "!strUnit.empty(); nullptr != szUnit; nullptr != pblDisplay"},
    {"volume_dependency_get", "!strUnit.empty(); nullptr != szUnit; nullptr != pDependency"},
    {"name_get", "!strUnit.empty(); nullptr != szUnit; nullptr != szName; 0 < cbName"},
    {"name_i18n_get", "!strUnit.empty(); nullptr != szUnit; nullptr != szNameI18n; 0 < cbNameI18n"},
    {"firewall_sections_get",
     "!strUnit.empty(); nullptr != szUnit; nullptr != ppFirewallSections; nullptr != *ppFirewallSections"},
    {"show", "!strUnit.empty(); !strProperty.empty()"},
    {"internal_lib", "(!strUnit.empty()); !strSlice.empty() && IsSliceName(strSlice)"},
    {"kill_slice", "!strSlice.empty() && IsSliceName(strSlice)"},
    {"cgroup_monitor_slice_move cgroup_systemd_slice_move", "nullptr != szSlice"},
    {"cgroup_monitor_slice_get", "nullptr != szSlice; 0 < cbSlice"},
    {"slice_list", "nullptr != ppListSlices; nullptr != *ppListSlices"},
    {"service_list", "nullptr != ppListServices; nullptr != *ppListServices"},
    {"service_list_by_mount_path", "nullptr != szMntPath; nullptr != ppListServices; nullptr != *ppListServices"},
    {"service_skip_list_by_mount_path", "!strService.empty()"},
    {"service_reason_list",
     "!strService.empty(); nullptr != szService; nullptr != ppListReasons; nullptr != *ppListReasons"},
    {"service_stop_by_reason service_start_by_reason service_reason_remove",
     "!strReason.empty(); nullptr != szReason; !strService.empty(); nullptr != szService; !vecServices.empty(); "
     "nullptr != pListServices"},
    {"default_target_get", "nullptr != szDefaultTarget; 0 < cbDefaultTarget"},
    {"default_target_set", "!strDefaultTarget.empty(); nullptr != szDefaultTarget"},
    {"default_target_set_in_generator", "nullptr != szDefaultTarget"},
    {"volume_register",
     "!strUnit.empty(); nullptr != szUnit; !strPackage.empty(); nullptr != szPackage; !strVolume.empty(); "
     "nullptr != szVolume"},
    {"volume_unmount_plan", "!vecVolumes.empty()"},
    {"volume_unmount_action", "!vecVolumes.empty(); nullptr != pListVolumes; nullptr != szVolume; nullptr != action"},
    {"isolate_target", "!strTarget.empty()"},
    {"isolate_target_action", "!strTarget.empty(); nullptr != szTarget; nullptr != action"},
};

bool Has(const std::string& text, const std::string& part)
{
    return text.find(part) != text.npos;
}

/// What calls write, but for lock files, which stay.
Files Written()
{
    Files files = FilesBelow({"/run", "/usr/mero", "/var/packages", "/sys/fs/cgroup"});
    std::erase_if(files, [](const auto& file) { return file.first.find("lock") != std::string::npos; });
    return files;
}

/// The source file that a function's name leads to, or the beginning of which is its source file's name.
std::string SourceFile(std::string function)
{
    function = function.substr(function.find("Systemd") + 7);
    for (const auto& [part, instead] : {std::pair("Group", ""),
                                        {"Int", ""},
                                        {"Try", ""},
                                        {"Mnt", "Mount"},
                                        {"Dislay", "Display"},
                                        {"Unreg", "Reg"},
                                        {"Package", ""}}) {
        const std::size_t at = function.find(part);
        at != function.npos ? void(function.replace(at, std::strlen(part), instead)) : void();
    }
    std::string file = "systemd";
    for (const char c : function.substr(0, function.find('('))) {
        file += std::isupper(c) ? std::string("_") + static_cast<char>(std::tolower(c)) : std::string(1, c);
    }
    return file;
}

/// Whether a call was refused as it should be.
bool IsRefusal(World& world, const Function& function, const Answer& answer, const std::string& log)
{
    const std::string file = MLIBCErrorGetFile(), tail = ")=[0]\n";
    const std::string head = "ERR " + file + ":" + std::to_string(MLIBCErrorGetLine()) + " Invaild Argument (";
    const bool isItsFile =
        SourceFile(function.name).starts_with(file) || file == "systemd_internal_lib" ||
        (function.name == "MEROCSystemdSupportOneClickEnableGet" && file == "systemd_is_default_enable");
    if (!file.starts_with("systemd_") || !isItsFile || !log.starts_with(head) || !log.ends_with(tail)) {
        return false;
    }
    const std::string name = " " + file.substr(8) + " ";
    const std::string condition = "; " + log.substr(head.size(), log.size() - head.size() - tail.size()) + ";";
    const bool isKnown = std::ranges::any_of(kRefusals, [&](const Refusals& known) {
        return Has(std::string(" ") + known.files + " ", name) &&
               Has(std::string("; ") + known.conditions + ";", condition);
    });
    return MLIBCErrGet() == 0x0D00 && isKnown && answer.text == function.untouched && world.Calls().empty();
}

void CallBadly(Run& run)
{
    World world;
    std::filesystem::remove("/run/merosystemd/isolate-state"); // any isolation's end does that
    for (const Function& function : Functions()) {
        for (std::size_t bad = 0; bad < function.ways.size(); ++bad) {
            const std::string &way = function.ways[bad], what = function.name + ", whose argument " + way + ": ";
            const auto* const exception = std::ranges::find_if(kExceptions, [&](const Exception& one) {
                return Has(function.name, one.function) && Has(way, one.way);
            });
            const bool isRefused = exception == std::end(kExceptions);
            const Instead instead = isRefused ? Instead::Fails : exception->instead;
            (void)world.Log(), (void)world.Calls(), MLIBCErrSetEx(0, "", 0);
            const Files before = Written();
            const std::string host = HostState();
            const Answer answer = function.call(static_cast<int>(bad));
            const std::string log = Joined(world.Log()), difference = Difference(host, HostState());
            run.Expect(difference.empty(), what + difference);
            run.Expect(answer.thrown.empty() == (instead != Instead::Throws), what + "throws " + answer.thrown);
            run.Expect(answer.done == (instead == Instead::Works), what + (answer.done ? "succeeds" : "fails"));
            run.Expect(!isRefused || IsRefusal(world, function, answer, log),
                       what + "is not refused as it should be: error " + std::to_string(MLIBCErrGet()) + ", " + log);
            run.Expect(!isRefused || Written() == before, what + "writes");
            run.Done();
        }
    }
}

void CallAll(Run& run, StandIn systemctl)
{
    for (const Function& function : Functions()) {
        const World world(systemctl);
        const std::string before = HostState();
        const Answer answer = function.call(-1);
        const std::string difference = Difference(before, HostState());
        const std::string what = function.name + ", systemctl " + std::to_string(static_cast<int>(systemctl)) + ": ";
        run.Expect(difference.empty(), what + difference);
        run.Expect(answer.thrown.empty() || function.mayThrow, what + "throws " + answer.thrown);
        run.Expect(answer.done || systemctl != StandIn::Works, what + "fails");
        run.Done();
    }
}

/// For the thread sanitizer, and for deadlocks.
void CallAtOnce(Run& run)
{
    const World world;
    const std::vector<Function>& functions = Functions();
    const std::string before = Footprint();
    const auto end = Clock::now() + 60s * run.Scale();
    std::vector<std::jthread> threads;
    for (unsigned number = 0; number < 16; ++number) {
        threads.emplace_back([&, number] {
            for (std::mt19937 random(number); Clock::now() < end;) {
                const Function& function = functions[random() % functions.size()];
                const int way = static_cast<int>(random() % (4 * function.ways.size() + 1));
                const bool isBad = way < static_cast<int>(function.ways.size());
                const Answer answer = function.call(isBad ? way : -1);
                run.Expect(answer.thrown.empty() || function.mayThrow || isBad, function.name + " throws");
                run.Done();
            }
        });
    }
    threads.clear();
    const std::string difference = Difference(before, Footprint());
    run.Expect(difference.empty(), difference);
}

} // namespace

void Torture(Run& run)
{
    run.InChild("calls at once", [&] { CallAtOnce(run); });
    CheckTable(run);
    BeAHost();
    CallBadly(run);
    for (const StandIn systemctl : {StandIn::Works, StandIn::Fails, StandIn::Missing}) {
        CallAll(run, systemctl);
    }
}

} // namespace MERO::Torture
