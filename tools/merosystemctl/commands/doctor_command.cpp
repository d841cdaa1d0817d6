#include "commands/commands.h"
#include "diagnosis/checkup.h"
#include "output/output.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <sstream>

namespace MERO::Tool {
namespace {

int RunDoctor(bool json)
{
    constexpr const char* kKinds[] = {"good", "note", "bad"};
    Json::Value list(Json::arrayValue);
    bool isWell = true;
    for (const Finding& finding : CheckMachine()) {
        const char* kind = kKinds[static_cast<std::size_t>(finding.kind)];
        const bool isFault = finding.kind == Finding::Kind::Bad;
        isWell = isWell && !isFault;
        if (json) {
            Json::Value& entry = list.append(Json::objectValue);
            entry["check"] = finding.what.kind;
            entry["result"] = kind;
            entry["text"] = finding.what.text;
            entry["remedy"] = finding.what.remedy;
        } else {
            std::cout << Coloured(kind, isFault ? Colour::Red : Colour::None) << (isFault ? "    " : "   ");
            std::vector<Cause> cause{finding.what};
            std::ostringstream text;
            PrintCauses(text, cause, "       ");
            std::cout << text.str().substr(7);
        }
    }
    if (json) {
        PrintJson(list);
    }
    return isWell ? kDone : kFailed;
}

} // namespace

void AddDoctorCommand(const Command& program)
{
    const auto json = std::make_shared<bool>(false);
    const Command command = program.AddCommand("doctor", "Check the machine, and look for leftovers");
    command.AddFlag("--json", *json, "As a JSON array");
    command.OnCall([json] { return RunDoctor(*json); });
}

} // namespace MERO::Tool
