#pragma once

#include "commands/figures.h"

#include "capture/lineparser.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace lab {

/// The lines of a running recording, as its recorder sends them through a local socket, and the figures that
/// they amount to. Used on one thread.
class Feed
{
public:
    /// Connects to the recorder at @p socket, or to that of the newest recording if it is empty.
    explicit Feed(const std::string &socket);
    ~Feed();
    Feed(const Feed &) = delete;
    Feed &operator=(const Feed &) = delete;

    /// False if there is no recorder, which one line on standard error then tells.
    bool isConnected() const { return m_connection >= 0; }
    /// A descriptor for poll(), which can be read when receive() has something to do.
    int connection() const { return m_connection; }
    const Figures &figures() const { return m_figures; }
    /// Whether the recording, or the connection, has ended.
    bool hasEnded() const { return m_hasEnded; }

    /// Takes in what has come, without waiting, and the time that has passed.
    void receive();
    /// Has a note written into the recording.
    void sendNote(const std::string &text) const;

private:
    void read();
    void followLines();

    int m_connection = -1;
    std::string m_received; ///< up to the next newline
    std::string m_line;
    std::int64_t m_number = 0;
    capture::LineParser m_parser;
    Figures m_figures;
    std::chrono::steady_clock::time_point m_followed; ///< when the last line came
    bool m_hasEnded = false;
};

} // namespace lab
