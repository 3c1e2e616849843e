#pragma once

#include "latency/contacts.h"
#include "latency/program.h"

#include <random>
#include <vector>

namespace latency {

/// The pixel that tells whether a contact has drawn at @p place: beside the cross that its info tag draws.
constexpr Point watched(Point place)
{
    return {place.x + 1, place.y + 1};
}

/// One report that was followed to its pixel, or several of contacts that move together.
struct Sample
{
    Nanoseconds called = 0;  ///< when the packet callback was called with the (first) report
    Nanoseconds toPixel = 0; ///< from then on until the last of its contacts was seen on the screen
    Nanoseconds inside = 0;  ///< the packet callback, the first time
};

/// Draws with some contacts and measures their reports one by one. Keeps references to the program and the
/// screen. Every operation throws std::runtime_error as those do.
class Measurement
{
public:
    Measurement(Program &program, Screen &screen, const Contacts &contacts)
        : m_program(program), m_screen(screen), m_contacts(contacts)
    {
    }

    boardsim::Bytes report(const std::vector<Point> &places, bool down = true) const
    {
        return m_contacts.report(places, m_screen, down);
    }
    /// As many reports as it takes for all contacts.
    std::vector<boardsim::Bytes> reports(const std::vector<Point> &places, bool down = true) const
    {
        return m_contacts.reports(places, m_screen, down);
    }

    /// Delivers without measuring, and waits for the last report's pixels. Returns when the first report was
    /// delivered.
    Nanoseconds draw(const Walk &walk, Nanoseconds interval);
    void lift(const std::vector<Point> &places);

    /// Processor time that the program takes in one nanosecond while contacts are down and rest.
    double restingShare();

    /// Makes reports come every @p step from now on instead of after random pauses. A step that ends with the
    /// golden ratio of a tick reaches all times between two ticks in turn, so that few reports tell a small
    /// difference.
    void paceEvenly(Nanoseconds step) { m_step = step; }
    /// Makes reports come after random pauses, by default of 10 to 50 ms.
    void pauseBetween(Nanoseconds shortest, Nanoseconds longest)
    {
        m_step = 0;
        m_length = std::uniform_int_distribution<Nanoseconds>(shortest, longest);
    }

    /// Delivers the reports of @p walk one by one, each when the one before is on the screen.
    std::vector<Sample> run(const Walk &walk);

private:
    void pause();
    Nanoseconds nextEvenly();

    Program &m_program;
    Screen &m_screen;
    const Contacts m_contacts;
    std::mt19937 m_random{1};
    std::uniform_int_distribution<Nanoseconds> m_length{10 * millisecond, 50 * millisecond};
    Nanoseconds m_step = 0; ///< 0: random pauses
    Nanoseconds m_next = 0; ///< when the next pause ends, with a step
};

} // namespace latency
