#include <merosystemd/systemd.hpp>

#include <iostream>

int main(int argc, char* argv[])
{
    const std::vector<std::string> units(argv + 1, argv + argc);
    std::vector<std::string> failed;
    const bool done = MEROSystemdRestart(units, failed);
    for (const std::string& unit : failed) {
        std::cerr << unit << " was not restarted; syslog tells why\n";
    }
    return done ? 0 : 1;
}
