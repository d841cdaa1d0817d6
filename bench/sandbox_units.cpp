#include "sandbox_units.h"

#include "peer_program.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace MERO::Bench {
namespace {

void Require(bool done, const std::string& what)
{
    if (!done) {
        std::fprintf(stderr, "%s: is this inside mero-sandbox?\n", what.c_str());
        std::exit(1);
    }
}

} // namespace

void SetUpMachine()
{
    WriteText("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n");
    WriteText("/run/merobootseq/boot-step", "6\n");
}

void WriteUnit(const std::string& name, const std::string& text)
{
    WriteText("/run/systemd/system/" + name, text);
}

void LoadUnits()
{
    Require(RunProgram({"systemctl", "daemon-reload"}), "daemon-reload failed");
}

void StartUnit(const std::string& name)
{
    Require(RunProgram({"systemctl", "start", name}), name + " was not started");
}

void WriteText(const std::string& path, const std::string& text)
{
    std::error_code error; // opening the file fails if the folder is missing
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    std::ofstream file(path);
    Require(static_cast<bool>(file << text << std::flush), "cannot write " + path);
}

} // namespace MERO::Bench
