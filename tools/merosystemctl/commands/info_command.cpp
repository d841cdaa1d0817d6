#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "output/output.h"

#include <merosystemd/systemd.hpp>

#include <memory>

namespace MERO::Tool {
namespace {

/// A unit's metadata, in the order and under the names in the output.
struct Metadata {
    std::string unit, name, nameI18n;
    bool supported = false, defaultEnable = false, oneClickEnable = false, infoCenter = false, nanoUpdate = false;
    Texts firewallSections, belongsTo, packedIn;
};

/// Returns false if the unit has no file.
bool Read(Metadata& data)
{
    // These two also return false for a unit without a name.
    (void)MEROSystemdNameGet(data.unit, data.name);
    if (!MEROSystemdNameI18nGet(data.unit, data.nameI18n)) {
        data.nameI18n.clear();
    }
    return MEROSystemdIsSupportGet(data.unit, data.supported) &&
           MEROSystemdIsDefaultEnableGet(data.unit, data.defaultEnable) &&
           MEROSystemdSupportOneClickEnableGet(data.unit, data.oneClickEnable) &&
           MEROSystemdInfoCenterDisplayGet(data.unit, data.infoCenter) &&
           MEROSystemdNanoUpdateDislayGet(data.unit, data.nanoUpdate) &&
           MEROSystemdFirewallSectionsGet(data.unit, data.firewallSections) &&
           MEROSystemdBelongsToGet(data.unit, data.belongsTo) && MEROSystemdPackedInGet(data.unit, data.packedIn);
}

std::string Text(bool answer)
{
    return answer ? "yes" : "no";
}

std::string Text(const std::string& text)
{
    return text.empty() ? "-" : text;
}

void Print(const Metadata& data)
{
    PrintFields({{"Unit", data.unit},
                 {"Name", Text(data.name)},
                 {"Translated name", Text(data.nameI18n)},
                 {"Supported here", Text(data.supported)},
                 {"Enabled by default", Text(data.defaultEnable)},
                 {"One-click enable", Text(data.oneClickEnable)},
                 {"In information centre", Text(data.infoCenter)},
                 {"In small update", Text(data.nanoUpdate)},
                 {"Firewall sections", ToCell(data.firewallSections)},
                 {"Belongs to", ToCell(data.belongsTo)},
                 {"Packed in", ToCell(data.packedIn)}});
}

void PrintAsJson(const Metadata& data)
{
    Json::Value object(Json::objectValue);
    object["unit"] = data.unit;
    object["name"] = data.name;
    object["nameI18n"] = data.nameI18n;
    object["supported"] = data.supported;
    object["defaultEnable"] = data.defaultEnable;
    object["oneClickEnable"] = data.oneClickEnable;
    object["infoCenter"] = data.infoCenter;
    object["nanoUpdate"] = data.nanoUpdate;
    object["firewallSections"] = ToJson(data.firewallSections);
    object["belongsTo"] = ToJson(data.belongsTo);
    object["packedIn"] = ToJson(data.packedIn);
    PrintJson(object);
}

} // namespace

void AddInfoCommand(const Command& program)
{
    struct Arguments {
        std::string unit;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command command = program.AddCommand("info", "Show a unit's metadata, from its unit file");
    AddUnit(command, arguments->unit);
    command.AddFlag("--json", arguments->json, "As a JSON object");
    command.OnCall([arguments] {
        Metadata data;
        data.unit = arguments->unit;
        if (!Read(data)) {
            PrintError(data.unit + ": no unit file of this name in the system's unit directories");
            return kNoSuchUnit;
        }
        arguments->json ? PrintAsJson(data) : Print(data);
        return kDone;
    });
}

} // namespace MERO::Tool
