#pragma once

#include "capture/boards.h"
#include "capture/line.h"

#include <cstdint>

namespace capture {

class Result;

/// Takes a part out of a recording, so that it plays by itself: what the boards are, and the contacts that
/// are down, comes first. Used on one thread.
class Cut
{
public:
    /// The part begins at @p from, in microseconds since the recording's first line, and goes to @p result.
    Cut(std::int64_t from, Result &result);

    /// Takes the next line, but for the first and the end, with its time in the recording.
    void add(const Line &line, std::int64_t at);
    /// Adds the end and finishes the result. False if anything could not be written.
    bool finish();

    std::int64_t from() const { return m_from; }
    /// Microseconds from the beginning of the part to its last line.
    std::int64_t length() const;

private:
    void begin();

    const std::int64_t m_from;
    Result &m_result;
    Boards m_boards;
    bool m_hasBegun = false;
    std::int64_t m_last; ///< time of the last line, or the beginning if that is later
};

} // namespace capture
