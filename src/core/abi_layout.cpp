// The layouts that programs have been compiled with. Changing one of these needs a new soname.
#include <merosystemd/resource.hpp>
#include <merosystemd/systemd.hpp>

#include <cstddef>
#include <type_traits>

#if defined(__LP64__) && _GLIBCXX_USE_CXX11_ABI

namespace MERO::Systemd {
namespace {

template <typename T>
constexpr bool kIsInt = sizeof(T) == 4 && alignof(T) == 4 && std::is_same_v<std::underlying_type_t<T>, int>;
template <typename T>
constexpr bool kIsUnsigned = sizeof(T) == 4 && alignof(T) == 4 && std::is_same_v<std::underlying_type_t<T>, unsigned>;

static_assert(kIsInt<JobType> && kIsInt<JobState> && kIsInt<KillPhase>);
static_assert(kIsInt<FileUse> && kIsInt<StopCause::Kind> && kIsInt<VolumeBlocker::Kind>);
static_assert(kIsUnsigned<MERO_SYSTEMD_LOAD_STATUS> && kIsUnsigned<MERO_SYSTEMD_ACTIVE_STATUS>);
static_assert(kIsUnsigned<MERO_SYSTEMD_ENABLE_STATUS> && kIsUnsigned<MERO_SYSTEMD_VOLUME_DEPENDENCY>);
static_assert(kIsUnsigned<MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT>);

static_assert(sizeof(MERO_SYSTEMD_ISOLATE_STATE) == 4097 && alignof(MERO_SYSTEMD_ISOLATE_STATE) == 1);
static_assert(offsetof(MERO_SYSTEMD_ISOLATE_STATE, isolating) == 0 &&
              offsetof(MERO_SYSTEMD_ISOLATE_STATE, target) == 1);

static_assert(sizeof(JobInfo) == 48 && alignof(JobInfo) == 8);
static_assert(offsetof(JobInfo, id) == 0 && offsetof(JobInfo, unit) == 8);
static_assert(offsetof(JobInfo, type) == 40 && offsetof(JobInfo, state) == 44);

static_assert(sizeof(SystemctlOpts) == 16 && alignof(SystemctlOpts) == 8);
static_assert(offsetof(SystemctlOpts, cmdOpts) == 0);
static_assert(offsetof(SystemctlOpts, calRunTime) == 8 && offsetof(SystemctlOpts, forceSystem) == 9);
static_assert(sizeof(SystemctlOptsBuilder) == 16 && alignof(SystemctlOptsBuilder) == 8);
static_assert(sizeof(CommandOptions) == 8 && alignof(CommandOptions) == 8);
static_assert(sizeof(IsolateOptions) == 1 && alignof(IsolateOptions) == 1 && offsetof(IsolateOptions, noBlock) == 0);

static_assert(sizeof(IsolateState) == 40 && alignof(IsolateState) == 8);
static_assert(offsetof(IsolateState, isolating) == 0 && offsetof(IsolateState, target) == 8);

static_assert(sizeof(ShownUnit) == 56 && alignof(ShownUnit) == 8);

static_assert(sizeof(Process) == 96 && alignof(Process) == 8);
static_assert(sizeof(Slice) == 208 && alignof(Slice) == 8);
static_assert(sizeof(Icon) == 64 && alignof(Icon) == 8 && offsetof(Icon, name) == 0 && offsetof(Icon, path) == 32);

static_assert(sizeof(VolumeRegistration) == 64 && alignof(VolumeRegistration) == 8);
static_assert(offsetof(VolumeRegistration, isPackage) == 0 && offsetof(VolumeRegistration, owner) == 8);
static_assert(offsetof(VolumeRegistration, volumes) == 40);

static_assert(sizeof(VolumeUser) == 80 && alignof(VolumeUser) == 8);
static_assert(offsetof(VolumeUser, pid) == 0 && offsetof(VolumeUser, command) == 8);
static_assert(offsetof(VolumeUser, use) == 40 && offsetof(VolumeUser, file) == 48);

static_assert(sizeof(StopCause) == 96 && alignof(StopCause) == 8);
static_assert(offsetof(StopCause, kind) == 0 && offsetof(StopCause, unit) == 8);
static_assert(offsetof(StopCause, package) == 40 && offsetof(StopCause, users) == 72);

static_assert(sizeof(PlannedStop) == 56 && alignof(PlannedStop) == 8);
static_assert(offsetof(PlannedStop, unit) == 0 && offsetof(PlannedStop, causes) == 32);

static_assert(sizeof(VolumeBlocker) == 120 && alignof(VolumeBlocker) == 8);
static_assert(offsetof(VolumeBlocker, kind) == 0 && offsetof(VolumeBlocker, unit) == 8);
static_assert(offsetof(VolumeBlocker, user) == 40);

static_assert(sizeof(VolumeUnmountPlan) == 48 && alignof(VolumeUnmountPlan) == 8);
static_assert(offsetof(VolumeUnmountPlan, stops) == 0 && offsetof(VolumeUnmountPlan, blockers) == 24);
static_assert(sizeof(FullVolumeUnmountPlan) == 96 && sizeof(PlannedDependent) == 72 && sizeof(VolumeTrigger) == 64);

static_assert(sizeof(VolumeUnmountState) == 72 && alignof(VolumeUnmountState) == 8);
static_assert(offsetof(VolumeUnmountState, volumes) == 8 && offsetof(VolumeUnmountState, units) == 32);
static_assert(offsetof(VolumeUnmountState, since) == 56 && offsetof(VolumeUnmountState, pid) == 64);

} // namespace
} // namespace MERO::Systemd

#endif
