#pragma once

#include "support/shell.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace MERO::Test {

/// Base of tests on a real systemd, inside the sandbox. The library uses its dialect, and boot is over.
class Box : public ::testing::Test {
protected:
    Box();
    /// Stops and removes the test's units and jobs.
    ~Box() override;

    static void Write(const std::string& path, const std::string& text);
    /// Writes a unit file to /run/systemd/system. Load() makes systemd read the files.
    void Unit(const std::string& name, const std::string& text);
    void Load();
    static void SetBootStep(int step);

    static std::string ActiveState(const std::string& unit);
    /// Waits until `condition` holds; returns false after ten seconds.
    static bool Comes(const std::function<bool()>& condition);
    /// Waits until `unit` has this state; returns false after ten seconds.
    static bool Reaches(const std::string& unit, const std::string& state);

private:
    std::string units_;
};

/// Whether systemd's cgroups are of version 2, and whether the resource monitor's hierarchy is mounted.
inline const auto IsUnified = [] { return Shell("stat -fc %T /sys/fs/cgroup").output == "cgroup2fs\n"; };
inline const auto HasMonitor = [] { return Shell("stat -fc %T /sys/fs/cgroup/meromonitor").output == "cgroupfs\n"; };

} // namespace MERO::Test
