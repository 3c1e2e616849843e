#pragma once

#include "commands/figures.h"
#include "commands/livelines.h"

#include <chrono>
#include <string>

namespace lab {

/// The lines of a running recording, and the figures that they amount to. Used on one thread.
class Feed
{
public:
    /// Connects to the recorder at @p socket, or to that of the newest recording if it is empty.
    explicit Feed(const std::string &socket);

    /// False if there is no recorder, which one line on standard error then tells.
    bool isConnected() const { return m_lines.isConnected(); }
    /// A descriptor for poll(), which can be read when receive() has something to do.
    int connection() const { return m_lines.connection(); }
    const Figures &figures() const { return m_figures; }
    /// Whether the recording, or the connection, has ended.
    bool hasEnded() const { return m_lines.hasEnded(); }

    /// Takes in what has come, without waiting, and the time that has passed.
    void receive();
    /// Has a note written into the recording.
    void sendNote(const std::string &text) const { m_lines.sendNote(text); }

private:
    LiveLines m_lines;
    Figures m_figures;
    std::chrono::steady_clock::time_point m_followed; ///< when the last line came
};

} // namespace lab
