#pragma once

#include "commands/input.h"
#include "language.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace lab {

/// What one side of a recording did, in order: the board, or the program. Used on one thread.
class Stream
{
public:
    enum class Side { board, program };

    /// What was done, times and addresses aside.
    struct What
    {
        capture::Line::Type type = capture::Line::Type::other;
        int board = 0;
        std::string detail; ///< the bytes, the call with its arguments, or the device

        bool operator==(const What &other) const
        {
            return type == other.type && board == other.board && detail == other.detail;
        }
        bool operator!=(const What &other) const { return !(*this == other); }
        std::string text(Audience audience = Audience::person) const;
    };

    struct Event
    {
        std::int64_t line = 0;  ///< in the file
        std::int64_t at = 0;    ///< microseconds
        std::int64_t since = 0; ///< microseconds since the event of this side before
        What what;
    };

    Stream(const std::string &file, Side side, Input::Progress progress);

    /// The event @p ahead places behind the next one; null if there are not so many. What is looked at is
    /// kept until drop().
    const Event *peek(std::size_t ahead);
    /// Drops the next @p count events.
    void drop(std::size_t count);
    /// Tells on standard error how the reading ended; false if the input is at fault. True before its end.
    bool tellEnd() const { return m_input.tellEnd(); }

private:
    bool readOne();

    Input m_input;
    const Side m_side;
    std::deque<Event> m_events;
    std::int64_t m_last = 0;
};

} // namespace lab
