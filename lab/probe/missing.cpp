#include "probe/missing.h"

#include <algorithm>
#include <iterator>

namespace probe {

namespace {

struct Entry
{
    const char *name;
    const char *without;
};

constexpr Entry called[] = {
    {"zorvicAttach", "the other functions are called all the same"},
    {"zorvicDetach", "callbacks may go on"},
    {"zorvicSetCallback", "no reports"},
    {"zorvicClearCallback", "nothing is withdrawn"},
    {"zorvicWritePacket", "the command is not sent"},
    {"zorvicSetXferMask", "nothing"},
    {"zorvicGetDeviceCount", "no devices"},
    {"zorvicEnumDeviceInfo", "no boards and hubs"},
    {"zorvicSetPnpCallback", "changes go unnoticed"},
    {"zorvicSetPointingDeviceDestination", "nothing"},
    {"zorvicSendTouchPacketToSystem", "these contacts are lost"},
    {"zorvicSetTouchDestination", "nothing"},
    {"zorvicSetLATEDetection", "nothing"},
};

} // namespace

std::string withoutFunction(const std::string &name)
{
    const auto *const entry = std::find_if(std::begin(called), std::end(called),
                                           [&name](const Entry &one) { return name == one.name; });
    return entry == std::end(called) ? "–" : entry->without;
}

} // namespace probe
