#pragma once

#include "player.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

/// A stage whose clock jumps to each deadline, so that no test waits. It records what is played, with the
/// time since the start.
class Rehearsal : public boardsim::Stage
{
public:
    struct Event
    {
        std::chrono::microseconds time;
        std::string what;

        bool operator==(const Event &other) const { return time == other.time && what == other.what; }
    };

    boardsim::Clock::time_point now() override { return m_now; }
    bool waitUntil(boardsim::Clock::time_point deadline) override
    {
        if (m_stop && m_stop())
            return false;
        m_now = std::max(m_now, deadline);
        return true;
    }
    void deliver(int board, const boardsim::Bytes &report) override
    {
        add("report of " + std::to_string(report.size()) + " bytes for " + std::to_string(board));
    }
    void plug(int board, bool plugged) override
    {
        add((plugged ? "plug " : "unplug ") + std::to_string(board));
    }
    void mark(const std::string &text) override { add("mark " + text); }

    /// Stops the play once @p condition holds; it is checked before each wait.
    void stop_when(std::function<bool()> condition) { m_stop = std::move(condition); }
    /// Sets the time that each delivery takes.
    void set_delay(std::chrono::microseconds delay) { m_delay = delay; }

    std::vector<Event> events;

private:
    void add(const std::string &what)
    {
        events.push_back({std::chrono::duration_cast<std::chrono::microseconds>(m_now - m_start), what});
        m_now += m_delay;
    }

    const boardsim::Clock::time_point m_start = boardsim::Clock::time_point(std::chrono::hours(1));
    boardsim::Clock::time_point m_now = m_start;
    std::chrono::microseconds m_delay{0};
    std::function<bool()> m_stop;
};

inline std::ostream &operator<<(std::ostream &out, const Rehearsal::Event &event)
{
    return out << event.time.count() << " us: " << event.what;
}
