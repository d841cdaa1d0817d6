#include "support/sleeps.h"

#include <unistd.h>

#include <chrono>
#include <thread>

using namespace MERO::Test;

extern "C" unsigned sleep(unsigned seconds)
{
    sleeps.areCounted[0] ? void() : std::this_thread::sleep_for(std::chrono::seconds(seconds));
    sleeps.seconds += seconds;
    duringSleep ? duringSleep() : void();
    return 0;
}

extern "C" int usleep(useconds_t time)
{
    sleeps.areCounted[1] ? void() : std::this_thread::sleep_for(std::chrono::microseconds(time));
    return sleeps.microseconds += time, 0;
}
