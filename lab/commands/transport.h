#pragma once

#include "capture/boards.h"
#include "capture/line.h"
#include "capture/writer.h"

#include "player.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace lab {

/// Plays a recording into a board that does what it is told, faster, slower, paused or step by step, as keys
/// ask. What precedes the first report is never played faster than it was recorded, since that is the time in
/// which the program starts. To go back, it lifts every contact, plugs boards as they were, and plays again
/// from the start at full speed. Used on one thread.
class Transport : private boardsim::Stage
{
public:
    using Clock = boardsim::Clock;
    struct Tempo
    {
        double speed = 1; ///< 0: as fast as the board takes it
        bool loops = false;
        bool stays = false; ///< at the end, for the keys that go back
    };

    /// What the outside does for a play.
    class World
    {
    public:
        virtual ~World() = default;
        virtual Clock::time_point now() = 0;
        /// Waits until @p deadline or a key, whichever comes first. False if the play is to end.
        virtual bool wait(Clock::time_point deadline) = 0;
        /// The next key, or 0. "g" is followed by the seconds that a person has typed.
        virtual int key() = 0;
        virtual double askForSeconds() = 0;
        /// A line of the recording that the board gets.
        virtual void send(const std::string &line) = 0;
        /// The line that was just played, with its time; valid during the call.
        virtual void show(const capture::Line &line, bool isPaused) = 0;
        /// The play pauses, or goes on, behind the line that was shown last.
        virtual void pause(bool isPaused) = 0;
    };

    /// Keeps references to both.
    Transport(const boardsim::Scenario &scenario, World &world, const Tempo &tempo);

    /// Plays until the end, or until the world or a key ends it; then false.
    bool play();

private:
    Clock::time_point now() override { return m_time; }
    bool waitUntil(Clock::time_point deadline) override;
    void begins(std::size_t step) override { m_step = step; }
    void deliver(int board, const boardsim::Bytes &report) override;
    void plug(int board, bool plugged) override;
    void mark(const std::string &text) override;

    bool stay();
    bool obeyKeys();
    bool waitWhilePaused();
    bool isRushing(Clock::time_point deadline) const;
    double speed() const;
    void press(int key);
    void goBackTo(std::int64_t report);
    void goTo(std::chrono::microseconds time);
    void pauseAfter(bool contactsChanged);
    void anchor();
    void rewind();
    void send(capture::Line &line, const capture::Writer &writer);
    bool changesContacts(int board, const boardsim::Bytes &report);

    const boardsim::Scenario &m_scenario;
    World &m_world;
    const Tempo m_tempo;

    Clock::time_point m_begin; ///< of the play, in the time of the recording, as the next two
    Clock::time_point m_time;
    Clock::time_point m_anchor;
    Clock::time_point m_realAnchor; ///< the world's time at the anchor
    std::size_t m_step = 0;
    std::int64_t m_reports = 0; ///< sent since the beginning
    bool m_hasStarted = false;  ///< whether a report was ever sent
    bool m_isPaused = false;
    bool m_restarts = false;
    bool m_pausesAtReport = false;
    bool m_pausesAtChange = false;
    std::int64_t m_rushReports = 0;                      ///< up to this many reports at full speed
    std::optional<std::chrono::microseconds> m_rushTime; ///< up to this time at full speed
    capture::Boards m_boards;                            ///< what the board has been told
    std::map<std::pair<int, int>, std::string> m_states; ///< of each board and kind of report: who does what
};

} // namespace lab
