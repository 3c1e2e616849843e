#pragma once

#include "selftest/check.h"

#include "stage/session.h"

#include <cstdint>
#include <string>

namespace selftest {

constexpr std::uint32_t red = 0xff0000;
constexpr std::uint32_t green = 0x00ff00;
constexpr std::uint32_t black = 0x000000;

/// One start of the program, in which steps are played one after the other. Each step returns itself, and
/// does nothing behind a failed one. Used on one thread.
class Performance
{
public:
    /// The steps' lines are all given here, since the board plays them in one go; it waits before each.
    Performance(const stage::Setting &setting, std::vector<stage::Lines> steps);

    /// Sets a variable of the program's environment. To be called before the first step.
    Performance &set(const std::string &name, const std::string &value);
    /// Lets the board play its next step, and waits until it has.
    Performance &step();
    /// Waits until a place has a colour; both in board units.
    Performance &expectColour(int x, int y, std::uint32_t colour);
    /// Waits until that many reports have gone back to the system since the start.
    Performance &expectHandbacks(std::int64_t count);
    /// Presses a key and waits until the screen shows something else.
    Performance &pressToChange(const std::string &key);
    /// The screen shows what picture() stood for.
    Performance &expectPicture(std::size_t picture);
    /// A number that stands for what the screen shows at rest.
    std::size_t picture();
    /// Ends the program. Returns what was wrong; empty if nothing was.
    lab::Message end();

    stage::Session &session() { return m_session; }
    bool isGood() const { return m_wrong.empty(); }

private:
    bool start();
    void fail(const lab::Message &what);

    const stage::Setting m_setting;
    stage::Session m_session;
    std::size_t m_played = 0;
    bool m_isStarted = false;
    lab::Message m_wrong;
};

} // namespace selftest
