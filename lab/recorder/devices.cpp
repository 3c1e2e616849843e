#include "recorder/devices.h"

#include "capture/privacy.h"

namespace recorder {

Devices::Devices(capture::Writer &writer, bool hidesSerialNumbers)
    : m_writer(writer), m_hidesSerialNumbers(hidesSerialNumbers)
{
}

void Devices::beginEnumeration(std::int64_t at, int count)
{
    for (auto &[board, device] : m_devices)
        device.listed = false;
    m_count = count;
    if (count <= 0)
        endEnumeration(m_changedAt >= 0 ? m_changedAt : at);
}

void Devices::found(std::int64_t at, int kind, int board, const std::string &info)
{
    if (m_devices.count(board) == 0)
        tellDevice(at, kind, board, info);
    m_devices[board].listed = true;
}

void Devices::asked(std::int64_t at, int index)
{
    if (index + 1 == m_count)
        endEnumeration(m_changedAt >= 0 ? m_changedAt : at);
}

void Devices::reports(std::int64_t at, int board)
{
    constexpr int boardKind = 1;
    if (m_devices.count(board) > 0)
        return;
    tellDevice(at, boardKind, board, {});
    m_devices[board].listed = true;
}

void Devices::tellDevice(std::int64_t at, int kind, int board, const std::string &info)
{
    capture::Writer::Json line{{"type", "device"}, {"at", at}, {"kind", kind}, {"board", board}};
    line["info"] = m_hidesSerialNumbers ? capture::withoutSerialNumbers(info) : info;
    if (m_enumerated)
        line["plugged"] = false; // it arrives with the plug line that follows
    m_writer.add(line);
    m_devices[board].plugged = !m_enumerated;
}

void Devices::endEnumeration(std::int64_t at)
{
    for (auto &[board, device] : m_devices)
        tellPlug(at, board, device, device.listed);
    m_enumerated = true;
    m_changedAt = -1;
}

void Devices::tellPlug(std::int64_t at, int board, Device &device, bool plugged)
{
    if (device.plugged == plugged)
        return;
    device.plugged = plugged;
    m_writer.add({{"type", plugged ? "plug" : "unplug"}, {"at", at}, {"board", board}});
}

} // namespace recorder
