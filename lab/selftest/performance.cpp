#include "selftest/performance.h"

#include "commands/virtualscreen.h"
#include "stage/scene.h"

#include <array>
#include <cstdio>
#include <utility>

namespace selftest {

namespace {

std::string nameOf(std::uint32_t colour)
{
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "#%06x", static_cast<unsigned>(colour));
    return text.data();
}

std::string nameOf(const char *what, std::size_t number)
{
    return what + std::to_string(number);
}

} // namespace

Performance::Performance(const stage::Setting &setting, std::vector<stage::Lines> steps)
    : m_setting(setting), m_session(setting)
{
    stage::Lines lines{stage::board(1)};
    for (std::size_t i = 0; i < steps.size(); ++i) {
        lines.push_back(m_session.gate(nameOf("gate", i)));
        lines.insert(lines.end(), steps[i].begin(), steps[i].end());
        lines.push_back(stage::mark(nameOf("step", i)));
    }
    m_session.play(lines);
}

Performance &Performance::set(const std::string &name, const std::string &value)
{
    m_session.set(name, value);
    return *this;
}

Performance &Performance::step()
{
    const std::size_t number = m_played++;
    if (!start())
        return *this;
    m_session.open(nameOf("gate", number));
    if (!m_session.awaitMark(nameOf("step", number)))
        fail("the board does not play");
    return *this;
}

Performance &Performance::expectColour(int x, int y, std::uint32_t colour)
{
    if (start() && !m_session.await([&] { return m_session.colourAt(x, y) == colour; })) {
        const auto seen = m_session.colourAt(x, y);
        fail("(" + std::to_string(x) + ", " + std::to_string(y) + ") is " + (seen ? nameOf(*seen) : "nothing")
             + " instead of " + nameOf(colour));
    }
    return *this;
}

Performance &Performance::expectHandbacks(std::int64_t count)
{
    if (start() && !m_session.await([&] { return m_session.log().handbacks() >= count; }))
        fail(std::to_string(m_session.log().handbacks()) + " reports are handed back instead of "
             + std::to_string(count));
    else if (isGood() && m_session.log().handbacks() > count)
        fail("more than " + std::to_string(count) + " reports are handed back");
    return *this;
}

Performance &Performance::pressToChange(const std::string &key)
{
    const std::size_t before = picture();
    if (!isGood())
        return *this;
    m_setting.screen->press(key);
    if (!m_session.await([&] { return m_session.picture() != before; }))
        fail("nothing changes with the key " + key);
    return *this;
}

Performance &Performance::expectPicture(std::size_t picture)
{
    if (start() && !m_session.await([&] { return m_session.picture() == picture; }))
        fail("the picture is not the one before");
    return *this;
}

std::size_t Performance::picture()
{
    std::size_t latest = 0;
    const auto rests = [&] { return m_session.picture() == std::exchange(latest, m_session.picture()); };
    if (start() && !m_session.await(rests))
        fail("the screen does not rest");
    return latest;
}

std::string Performance::end()
{
    if (start()) {
        const int status = m_session.end();
        if (status != 0)
            fail("the program ends with status " + std::to_string(status));
        else if (!m_session.errors().empty())
            fail("the program prints: " + m_session.errors());
    }
    return m_wrong;
}

/// Whether the program runs and nothing was wrong so far.
bool Performance::start()
{
    if (!m_isStarted && isGood()) {
        m_isStarted = true;
        if (!m_session.start())
            fail("no window");
    }
    return isGood();
}

void Performance::fail(const std::string &what)
{
    if (isGood())
        m_wrong = what;
}

} // namespace selftest
