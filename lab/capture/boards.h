#pragma once

#include "capture/contacts.h"
#include "capture/line.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace capture {

class Writer;

/// What the boards of a recording are and hold at one moment: who is plugged in, and which contacts are down.
/// Used on one thread.
class Boards
{
public:
    /// A device as its line describes it.
    struct Device
    {
        int kind = 0;
        std::string info;
        bool plugged = true;
        Contact pens[16];               ///< by number; only those that are down or pressed count
        std::map<int, Contact> touches; ///< that are down, by identifier
        std::map<int, Contact> erasers; ///< that are down, by identifier
    };

    /// Takes in what a line changes.
    void follow(const Line &line);

    const std::map<int, Device> &devices() const { return m_devices; }
    /// Adds the lines that bring a board that knows nothing to this state, all at the time @p at.
    void restore(std::int64_t at, Writer &writer) const;
    /// Adds a report that lifts every contact that is down.
    void lift(std::int64_t at, Writer &writer) const;

private:
    void followReport(const Line &line);

    std::map<int, Device> m_devices; ///< by number
    Report m_report;                 ///< kept, since its vector is used again
};

} // namespace capture
