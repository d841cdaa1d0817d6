#include <iostream>
#include <merosystemd/systemd.hpp>

int main(int argc, char* argv[])
{
    std::vector<std::string> failed;
    const bool done = MEROSystemdRestart(std::vector<std::string>(argv + 1, argv + argc), failed);
    for (const std::string& unit : failed)
        std::cerr << unit << " was not restarted; the system log says why\n";
    return done ? 0 : 1;
}
