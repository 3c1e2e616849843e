#include "recorder/devices.h"

#include "capture/privacy.h"
#include "capture/validtext.h"

#include "hardware/abstracthardwarewrapper.h"

namespace recorder {

Devices::Devices(capture::Writer &writer, bool hidesSerialNumbers)
    : m_writer(writer), m_hidesSerialNumbers(hidesSerialNumbers)
{
}

void Devices::change(std::int64_t at)
{
    m_changedAt = at;
    beginEnumeration();
}

void Devices::counted(std::int64_t at, int count)
{
    if (count != m_count)
        beginEnumeration();
    m_count = count;
    if (count <= 0)
        endEnumeration(at);
}

void Devices::found(std::int64_t at, int kind, int board, const std::string &info)
{
    if (board < 0)
        return; // no line may name it
    if (m_devices.count(board) == 0)
        tellDevice(at, kind, board, info);
    m_devices[board].listed = true;
}

void Devices::asked(std::int64_t at, int index)
{
    if (index < 0 || index >= m_count)
        return;
    m_asked.insert(index);
    if (m_asked.size() == static_cast<std::size_t>(m_count))
        endEnumeration(at);
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
    const std::string text = capture::validText(info, _ZORVIC_DEVICE_INFO::longestInfo);
    line["info"] = m_hidesSerialNumbers ? capture::withoutSerialNumbers(text) : text;
    if (m_enumerated)
        line["plugged"] = false; // it arrives with the plug line that follows
    m_writer.add(line);
    m_devices[board].plugged = !m_enumerated;
}

void Devices::beginEnumeration()
{
    m_asked.clear();
    for (auto &[board, device] : m_devices)
        device.listed = false;
}

void Devices::endEnumeration(std::int64_t at)
{
    for (auto &[board, device] : m_devices)
        tellPlug(m_changedAt >= 0 ? m_changedAt : at, board, device, device.listed);
    m_enumerated = true;
    m_changedAt = -1;
    beginEnumeration();
}

void Devices::tellPlug(std::int64_t at, int board, Device &device, bool plugged)
{
    if (device.plugged == plugged)
        return;
    device.plugged = plugged;
    m_writer.add({{"type", plugged ? "plug" : "unplug"}, {"at", at}, {"board", board}});
}

} // namespace recorder
