#include "latency/fields.h"

#include "language.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace latency {

namespace {

constexpr int margin = 24;     // pixels between the window's edges and the contacts, as are all below
constexpr int period = 64;     // of the colour field, so that all contacts come to the same colours
constexpr int leastSize = 192; // of a field: an info tag of 150 x 125, its circle and a step

} // namespace

Fields::Fields(const acceptance::Area &window, int contacts)
    : m_first{window.x + margin, window.y + margin}, m_contacts(contacts)
{
    const int width = window.width - 2 * margin;
    const int height = window.height - 2 * margin;
    const int most = width / leastSize; // in a row
    const int rows = most > 0 ? (contacts + most - 1) / most : 0;
    if (rows == 0 || height / rows < leastSize)
        throw std::runtime_error(
            lab::format(lab::trPlural("the window has no room for the info tags of %d contact",
                                      "the window has no room for the info tags of %d contacts", contacts),
                        contacts));
    m_across = (contacts + rows - 1) / rows;
    m_width = width / m_across / period * period;
    m_height = height / rows / period * period;
}

Walk Fields::walk(bool withStrip) const
{
    const int top = withStrip ? 0 : strip + 2 * radius;
    const int columns = m_width / step;
    const int rows = (m_height - top) / step;
    Walk walk;
    for (int i = 0; i < columns * rows; ++i)
        walk.push_back(atEach(serpentine({0, top, step * (columns - 1)}, step, i)));
    return walk;
}

Walk Fields::scribble(int count, std::mt19937 &random) const
{
    constexpr int farthest = 9; // pixels, of one place from the one before
    std::uniform_int_distribution<int> way(-farthest, farthest);
    Walk walk;
    Point place;
    for (int i = 0; i < count; ++i) {
        place.x = std::clamp(place.x + way(random), 0, m_width - step);
        place.y = std::clamp(place.y + way(random), 0, strip);
        walk.push_back(atEach(place));
    }
    return walk;
}

std::vector<Point> Fields::above(std::vector<Point> places) const
{
    const std::vector<Point> corners = atEach({});
    for (std::size_t i = 0; i < places.size(); ++i)
        places[i].y = corners[i].y;
    return places;
}

std::vector<Point> Fields::atEach(Point inField) const
{
    std::vector<Point> places;
    places.reserve(static_cast<std::size_t>(m_contacts));
    for (int contact = 0; contact < m_contacts; ++contact)
        places.push_back({m_first.x + contact % m_across * m_width + inField.x,
                          m_first.y + contact / m_across * m_height + inField.y});
    return places;
}

} // namespace latency
