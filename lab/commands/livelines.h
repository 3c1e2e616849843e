#pragma once

#include "capture/lineparser.h"

#include <cstdint>
#include <functional>
#include <string>

namespace lab {

/// The lines of a running recording, as its recorder sends them through a local socket. Used on one thread.
class LiveLines
{
public:
    using Follower = std::function<void(const capture::Line &line)>;

    /// Takes over @p connection to a recorder; -1 if there is none.
    explicit LiveLines(int connection);
    ~LiveLines();
    LiveLines(const LiveLines &) = delete;
    LiveLines &operator=(const LiveLines &) = delete;

    bool isConnected() const { return m_connection >= 0; }
    /// A descriptor for poll(), which can be read when receive() has something to do.
    int connection() const { return m_connection; }
    /// Whether the recording, or the connection, has ended.
    bool hasEnded() const { return m_hasEnded; }

    /// Takes in what has come, without waiting; @p follow gets each line that can be read.
    void receive(const Follower &follow);
    /// Has a note written into the recording.
    void sendNote(const std::string &text) const;

private:
    void followLines(const Follower &follow);

    const int m_connection;
    std::string m_received; ///< up to the next newline
    std::string m_line;
    std::int64_t m_number = 0;
    capture::LineParser m_parser;
    bool m_hasEnded = false;
};

} // namespace lab
