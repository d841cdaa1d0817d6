#pragma once

#include "support/machine.h"

#include <functional>
#include <string>
#include <vector>

namespace MERO::Torture {

struct Answer {
    bool done = false;
    std::string text = {};   ///< what it stored in its outputs
    std::string thrown = {}; ///< the type of what it threw
};

/// An exported function and how it is called.
struct Function {
    std::string name;              ///< with its parameters, as a demangler writes it
    const void* address;           ///< of a member of a class: null
    std::vector<std::string> ways; ///< in which an argument can be bad: "1 is null"
    std::string untouched;         ///< Answer::text, if it stores nothing
    bool isC;
    bool mayThrow; ///< its header tells that it throws
    /// Calls it with an argument that is bad in one of the ways, counted from 0; -1: with good ones.
    std::function<Answer(int bad)> call;
};

/// What happens right before and right after each call: its arguments are there, its outputs are not looked at.
void AroundEachCall(std::function<void()> first, std::function<void()> last);

/// All of them.
const std::vector<Function>& Functions();

/// How the stand-in for systemctl is.
enum class StandIn { Works, Fails, Missing };

/// The machine in which every function succeeds that is called well, when systemctl works.
class World : public Test::Machine {
public:
    explicit World(StandIn systemctl = StandIn::Works);
    ~World() override;

    /// Gives this process cgroups; the world's maker has them.
    static void InCgroups();

private:
    void TestBody() override {}
};

} // namespace MERO::Torture
