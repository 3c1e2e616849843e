#pragma once

#include "report.h"

#include <deque>
#include <map>

namespace boardsim {

/// The synchronous channels: queues of a board's reports that the program reads at any time. Owned by the
/// driver, whose mutex guards every call; nothing here waits or wakes.
class Channels
{
public:
    /// Returns the number of a new channel; numbers are never used again.
    int open(int board);
    /// Returns whether there was such a channel.
    bool close(int board, int channel);
    void clear();

    /// Queues @p report on each channel of @p board, in place of the oldest one if a queue is full. Returns
    /// whether the board has a channel.
    bool deliver(int board, const Bytes &report);
    /// Whether take() would not answer 0: a report has come, or there is no such channel.
    bool hasAnswer(int board, int channel);
    /// Takes the oldest report, of which @p buffer gets what fits in @p size bytes, and returns its length; 0
    /// if none has come, -1 if there is no such channel.
    int take(int board, int channel, void *buffer, int size);

private:
    /// One open channel with the reports that nobody has read yet, oldest first.
    struct Channel
    {
        int board = 0;
        std::deque<Bytes> reports;
    };

    Channel *find(int board, int channel);

    std::map<int, Channel> m_channels; ///< by number
    int m_last = 0;                    ///< number of the channel opened last
};

} // namespace boardsim
