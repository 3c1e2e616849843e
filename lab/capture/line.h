#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace capture {

using Bytes = std::vector<std::uint8_t>;

/// One line of a recording or a scenario.
struct Line
{
    enum class Type {
        first,    ///< describes the recording
        device,   ///< a board or hub
        report,   ///< of a board: raw, pen, touch and erase lines alike
        call,     ///< of the driver by the program
        handback, ///< a report that the program has written back to the operating system
        lost,     ///< reports that a full queue has dropped
        note,     ///< a person's words
        mark,     ///< a scenario's words
        plug,     ///< a device has come or gone
        unplug,
        end,  ///< of the recording
        other ///< what only scenarios have: moves, waits and blocks
    };

    Type type = Type::other;
    std::int64_t number = 0;        ///< from 1 on
    std::string_view text;          ///< as it stands in the file, without the newline
    std::optional<std::int64_t> at; ///< microseconds since the first line
    int board = 0;                  ///< of reports, hand-backs, devices, plugs and unplugs
    Bytes bytes;                    ///< of reports and hand-backs
    /// Microseconds for which the program kept the driver's thread in its callback, if it is known.
    std::optional<double> inside;
};

} // namespace capture
