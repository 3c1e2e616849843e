#include "torture/catalogue.h"

#include "language.h"
#include "stage/scene.h"

#include "recorder/function.h"

#include <algorithm>
#include <string_view>

// What the driver does in the program's own calls, and functions that it lacks.

namespace torture {

using namespace stage;
using lab::trLater;

namespace {

bool isOneOf(std::string_view name, std::initializer_list<std::string_view> names)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

Fault without(std::string_view name)
{
    Fault fault{"without-" + std::string(name.substr(std::string_view("zorvic").size())),
                "a driver without " + std::string(name),
                {board(1)}};
    fault.missing = {std::string(name)};
    fault.plays = name != "zorvicAttach";
    fault.draws =
        !isOneOf(name, {"zorvicAttach", "zorvicSetCallback", "zorvicGetDeviceCount", "zorvicEnumDeviceInfo"});
    fault.handsBack = fault.draws && name != "zorvicSendTouchPacketToSystem";
    fault.logsDetach = name != "zorvicDetach";
    return fault;
}

} // namespace

void addCalls(std::vector<Fault> &faults)
{
    const Lines devices{board(1), board(2)};
    faults.push_back({"slow-calls",
                      trLater("calls that block for 100 ms each"),
                      devices,
                      {unplug(2), plug(2)},
                      1,
                      "slow-calls=100"});
    faults.push_back({"blocking-write",
                      trLater("a write that blocks for two seconds"),
                      devices,
                      {},
                      0,
                      "blocking-write=1"});
    faults.push_back({"prints", trLater("a driver that prints"), devices, {}, 0, "prints"});
}

void addMissingFunctions(std::vector<Fault> &faults)
{
    Fault all{"without-all", trLater("a driver without any of the functions"), {board(1)}};
    for (const recorder::FunctionNames &function : recorder::functionNames) {
        faults.push_back(without(function.name));
        all.missing.emplace_back(function.name);
    }
    all.plays = all.draws = all.handsBack = all.logsDetach = false;
    faults.push_back(std::move(all));
}

} // namespace torture
