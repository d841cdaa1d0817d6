/// @file
/// Options of actions, and the state of an isolation.
#pragma once

#include <memory>
#include <string>
#include <vector>

#pragma GCC visibility push(default)

namespace MERO::Systemd {

/// The options of one `systemctl` run. A small value: copy it freely.
struct SystemctlOpts {
    /// Placed after the verb; not owned. nullptr: none, but there may be some among the units.
    const std::vector<std::string>* cmdOpts = nullptr;
    bool calRunTime = false;  ///< measure the run and log its milliseconds
    bool forceSystem = false; ///< use the system's manager even for an ordinary user
};

/// Builds SystemctlOpts: `SystemctlOptsBuilder().SetCmdOpts(&options).SetCalRunTime(true).Build()`.
class SystemctlOptsBuilder {
public:
    /** @{ */
    /// Each sets one option. `*options` must live until the run is over.
    SystemctlOptsBuilder& SetCmdOpts(const std::vector<std::string>* options);
    SystemctlOptsBuilder& SetCalRunTime(bool calRunTime);
    SystemctlOptsBuilder& SetForceSystem(bool forceSystem);
    /** @} */

    SystemctlOpts Build() const; ///< a copy of what was set

private:
    SystemctlOpts opts_;
};

class CommandOptionsImp;

/// Options of enable and disable. Movable; a moved-from object ignores its setters.
class CommandOptions {
public:
    CommandOptions();                                     ///< no options
    CommandOptions(CommandOptions&&) noexcept;            ///< moves the options
    CommandOptions& operator=(CommandOptions&&) noexcept; ///< moves the options
    ~CommandOptions();

    CommandOptions& SetRunTime();  ///< `--runtime`: the change lasts until the next boot
    CommandOptions& SetNoReload(); ///< `--no-reload`: the manager does not read its unit files again

    const CommandOptionsImp* GetImp() const; ///< for the library only; null if moved from

private:
    std::unique_ptr<CommandOptionsImp> imp_;
};

/// Options of an isolation.
struct IsolateOptions {
    bool noBlock = false; ///< `--no-block`: systemctl queues the jobs and does not wait for them
};

/// Whether an isolation is running.
struct IsolateState {
    bool isolating = false; ///< true if one is running
    std::string target;     ///< its target, at most 63 bytes of the name; empty if none is running
};

} // namespace MERO::Systemd

#pragma GCC visibility pop
