#include "system/box.h"

#include "support/environment.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <thread>

namespace MERO::Test {

Box::Box()
{
    Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n");
    SetBootStep(6);
}

Box::~Box()
{
    // When a service is killed, systemd runs its ExecStop=, which may take long and has to be killed too.
    Shell("systemctl cancel; cd /run/systemd/system; for unit in" + units_ +
          "; do systemctl kill -s KILL $unit; timeout 1 systemctl stop $unit || { systemctl kill -s KILL $unit; "
          "systemctl stop $unit; }; rm $unit; done; systemctl reset-failed");
    Load();
}

void Box::Write(const std::string& path, const std::string& text)
{
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream file(path);
    if (!(file << text << std::flush)) {
        throw std::runtime_error("cannot write " + path);
    }
}

void Box::Unit(const std::string& name, const std::string& text)
{
    Write("/run/systemd/system/" + name, text);
    units_ += " " + name;
}

void Box::Load()
{
    if (Shell("systemctl daemon-reload").exitCode != 0) {
        throw std::runtime_error("daemon-reload failed");
    }
}

void Box::SetBootStep(int step)
{
    Write("/run/merobootseq/boot-step", std::to_string(step) + "\n");
}

std::string Box::ActiveState(const std::string& unit)
{
    const std::string output = Shell("systemctl show --value -p ActiveState " + unit).output;
    return output.substr(0, output.find('\n'));
}

bool Box::Comes(const std::function<bool()>& condition)
{
    using namespace std::chrono_literals;
    for (const auto end = std::chrono::steady_clock::now() + 10s; std::chrono::steady_clock::now() < end;
         std::this_thread::sleep_for(20ms)) {
        if (condition()) {
            return true;
        }
    }
    return false;
}

bool Box::Reaches(const std::string& unit, const std::string& state)
{
    return Comes([&] { return ActiveState(unit) == state; });
}

} // namespace MERO::Test

int main(int argc, char* argv[])
{
    ::testing::InitGoogleTest(&argc, argv);
    if (std::getenv("MERO_IN_SANDBOX") == nullptr && !::testing::GTEST_FLAG(list_tests)) {
        std::cerr << argv[0] << ": starts and stops units freely; run it through ctest, inside mero-sandbox\n";
        return 1;
    }
    MERO::Test::MakeEnvironmentKnown();
    return RUN_ALL_TESTS();
}
