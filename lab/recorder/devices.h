#pragma once

#include "capture/writer.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace recorder {

/// Follows which boards and hubs the driver lists, and tells each of them once, and each change, as the lines
/// that play them again. Used on the writer's thread.
class Devices
{
public:
    /// @p hidesSerialNumbers: whether serial numbers in the information of a device are left out.
    Devices(capture::Writer &writer, bool hidesSerialNumbers);

    /// The driver has reported a change. What the next enumeration finds has changed then.
    void change(std::int64_t at);
    /// The driver has told how many devices there are. A program may ask again before each device, so this
    /// begins an enumeration only if the number is another one.
    void counted(std::int64_t at, int count);
    /// The driver has told about the device that the program is going to have asked() for.
    void found(std::int64_t at, int kind, int board, const std::string &info);
    /// The program has asked for the device at @p index, whether there was one or not. An enumeration ends
    /// when each place has been asked for.
    void asked(std::int64_t at, int index);
    /// A board reports that was never enumerated.
    void reports(std::int64_t at, int board);

private:
    struct Device
    {
        bool listed = false;  ///< by the enumeration that goes on
        bool plugged = false; ///< as told
    };

    void beginEnumeration();
    void tellDevice(std::int64_t at, int kind, int board, const std::string &info);
    void endEnumeration(std::int64_t at);
    void tellPlug(std::int64_t at, int board, Device &device, bool plugged);

    capture::Writer &m_writer;
    const bool m_hidesSerialNumbers;
    std::map<int, Device> m_devices; ///< by number
    int m_count = 0;                 ///< of devices, as the driver has told last
    std::set<int> m_asked;           ///< places, in the enumeration that goes on
    bool m_enumerated = false;       ///< at least once
    std::int64_t m_changedAt = -1;   ///< below 0: no change that is not told
};

} // namespace recorder
