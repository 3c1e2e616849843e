#pragma once

#include "scenario.h"

#include <chrono>

namespace boardsim {

/// The clock that all times of a play are taken from; monotonic.
using Clock = std::chrono::steady_clock;

/// Where a scenario is played: the driver, or a test with a clock of its own. Called on the player's thread.
class Stage
{
public:
    virtual ~Stage() = default;

    virtual Clock::time_point now() = 0;
    /// Returns true at @p deadline, at once if that has passed; false as soon as the play has been stopped.
    virtual bool waitUntil(Clock::time_point deadline) = 0;
    virtual void deliver(int board, const Bytes &report) = 0;
    virtual void plug(int board, bool plugged) = 0;
    virtual void mark(const std::string &text) = 0;
    /// The step at this place of the scenario is about to be played.
    virtual void begins(std::size_t step) { (void)step; }
};

/// Plays one scenario, step by step, making each report when it is due. Every time counts from the moment
/// when the step before was due, so that no delay adds up. Used on one thread.
class Player
{
public:
    /// Keeps references to both.
    Player(const Scenario &scenario, Stage &stage);

    /// Returns at the end of the scenario, or false as soon as the stage has stopped the play.
    bool play();

private:
    /// A block that is being repeated.
    struct Block
    {
        std::optional<std::int64_t> roundsLeft; ///< none: for ever
        Clock::time_point roundStart;
    };

    bool play(const SendReport &step);
    bool play(const Move &step);
    bool play(const WaitForTime &step);
    bool play(const WaitUntilTime &step);
    bool play(const WaitForFile &step);
    bool play(const Repeat &step);
    bool play(const End &step);
    bool play(const Plug &step);
    bool play(const Mark &step);
    void deliverAll(int board, const std::vector<Bytes> &reports);

    const Scenario &m_scenario;
    Stage &m_stage;
    std::size_t m_next = 0;      ///< index of the step that follows
    Clock::time_point m_begin;   ///< of the play
    Clock::time_point m_due;     ///< when that step starts
    std::vector<Block> m_blocks; ///< innermost last
};

} // namespace boardsim
