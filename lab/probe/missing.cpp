#include "probe/missing.h"

#include "language.h"

#include <algorithm>
#include <iterator>

namespace probe {

namespace {

using lab::trLater;

struct Entry
{
    const char *name;
    const char *without;
};

constexpr Entry called[] = {
    {"zorvicAttach", trLater("the other functions are called all the same")},
    {"zorvicDetach", trLater("callbacks may go on")},
    {"zorvicSetCallback", trLater("no reports")},
    {"zorvicClearCallback", trLater("nothing is withdrawn")},
    {"zorvicWritePacket", trLater("the command is not sent")},
    {"zorvicSetXferMask", trLater("nothing")},
    {"zorvicGetDeviceCount", trLater("no devices")},
    {"zorvicEnumDeviceInfo", trLater("no boards and hubs")},
    {"zorvicSetPnpCallback", trLater("changes go unnoticed")},
    {"zorvicSetPointingDeviceDestination", trLater("nothing")},
    {"zorvicSendTouchPacketToSystem", trLater("these contacts are lost")},
    {"zorvicSetTouchDestination", trLater("nothing")},
    {"zorvicSetLATEDetection", trLater("nothing")},
};

} // namespace

std::string withoutFunction(const std::string &name)
{
    const auto *const entry = std::find_if(std::begin(called), std::end(called),
                                           [&name](const Entry &one) { return name == one.name; });
    return entry == std::end(called) ? "–" : entry->without;
}

} // namespace probe
