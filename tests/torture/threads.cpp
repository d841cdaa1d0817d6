// Sixteen threads that call every exported function at once, well and badly: for the thread sanitizer, and for
// deadlocks.
#include "torture/functions.h"
#include "torture/torture.h"

#include <unistd.h>

#include <chrono>
#include <random>
#include <thread>

namespace MERO::Torture {

const char* const kName = "threads";

void Run(Report& report, double scale)
{
    constexpr unsigned kThreads = 16;
    constexpr double kSeconds = 60;
    const World world;
    const std::vector<Function>& functions = Functions();
    const std::string before = Footprint();
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(scale * kSeconds);
    alarm(static_cast<unsigned>(scale * kSeconds) + 120); // ends a process whose threads wait for each other
    {
        std::vector<std::jthread> threads;
        for (unsigned number = 0; number < kThreads; ++number) {
            threads.emplace_back([&, number] {
                for (std::mt19937 random(number); std::chrono::steady_clock::now() < end;) {
                    const Function& function = functions[random() % functions.size()];
                    const int parameter =
                        static_cast<int>(random() % (4 * static_cast<unsigned>(function.parameters) + 1));
                    const Answer answer = function.call(parameter < function.parameters ? parameter : -1);
                    report.Done();
                    if (!answer.thrown.empty() && !function.mayThrow) {
                        report.Fault(function.name + " throws " + answer.thrown);
                    }
                }
            });
        }
    }
    alarm(0);
    if (const std::string difference = Difference(before, Footprint()); !difference.empty()) {
        report.Fault(difference);
    }
}

} // namespace MERO::Torture
