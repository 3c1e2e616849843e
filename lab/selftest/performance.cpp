#include "selftest/performance.h"

#include "commands/virtualscreen.h"
#include "language.h"
#include "stage/scene.h"

#include <array>
#include <cstdio>
#include <utility>

namespace selftest {

namespace {

using lab::message;

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
        fail(message("the board does not play"));
    return *this;
}

Performance &Performance::expectColour(int x, int y, std::uint32_t colour)
{
    if (start() && !m_session.await([&] { return m_session.colourAt(x, y) == colour; })) {
        const auto seen = m_session.colourAt(x, y);
        // TRANSLATORS: a place on the screen, and two colours.
        fail(seen ? message("(%d, %d) is %s instead of %s", x, y, nameOf(*seen).c_str(),
                            nameOf(colour).c_str())
                  : message("(%d, %d) is nothing instead of %s", x, y, nameOf(colour).c_str()));
    }
    return *this;
}

Performance &Performance::expectHandbacks(std::int64_t count)
{
    if (start() && !m_session.await([&] { return m_session.log().handbacks() >= count; }))
        fail(message("%lld reports are handed back instead of %lld", lab::whole(m_session.log().handbacks()),
                     lab::whole(count)));
    else if (isGood() && m_session.log().handbacks() > count)
        fail(message("more than %lld reports are handed back", lab::whole(count)));
    return *this;
}

Performance &Performance::pressToChange(const std::string &key)
{
    const std::size_t before = picture();
    if (!isGood())
        return *this;
    m_setting.screen->press(key);
    if (!m_session.await([&] { return m_session.picture() != before; }))
        fail(message("nothing changes with the key %s", key.c_str()));
    return *this;
}

Performance &Performance::expectPicture(std::size_t picture)
{
    if (start() && !m_session.await([&] { return m_session.picture() == picture; }))
        fail(message("the picture is not the one before"));
    return *this;
}

std::size_t Performance::picture()
{
    std::size_t latest = 0;
    const auto rests = [&] { return m_session.picture() == std::exchange(latest, m_session.picture()); };
    if (start() && !m_session.await(rests))
        fail(message("the screen does not rest"));
    return latest;
}

lab::Message Performance::end()
{
    if (start()) {
        const int status = m_session.end();
        if (status != 0)
            fail(message("the program ends with status %d", status));
        else if (!m_session.errors().empty())
            fail(message("the program prints: %s", m_session.errors().c_str()));
    }
    return m_wrong;
}

/// Whether the program runs and nothing was wrong so far.
bool Performance::start()
{
    if (!m_isStarted && isGood()) {
        m_isStarted = true;
        if (!m_session.start())
            fail(message("no window"));
    }
    return isGood();
}

void Performance::fail(const lab::Message &what)
{
    if (isGood())
        m_wrong = what;
}

} // namespace selftest
