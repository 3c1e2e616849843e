#include "accept/geometry.h"

#include "language.h"
#include "patterngeometry.h"

#include <cmath>

namespace acceptance {

namespace {

using lab::Audience;
using lab::format;
using lab::tr;
using lab::trLater;
using pattern::Ring;

constexpr int thirdBlackBar = 5; // bars to its left

/// The distance of the last target of a row that begins at @p across, if all of it must lie within @p half.
int farthest(const Ring &ring, int half)
{
    return ring.across + (half - ring.across - ring.diameter / 2) / ring.diameter * ring.diameter;
}

/// The rings of which the four inner targets are wholly in the window.
std::vector<Ring> wholeRings(const Area &window)
{
    std::vector<Ring> whole;
    for (const Ring &ring : pattern::rings(window.width)) {
        const int reach = ring.across + (ring.diameter + 1) / 2;
        if (reach <= window.width / 2 && reach <= window.height / 2)
            whole.push_back(ring);
    }
    return whole;
}

/// Adds targets around the centre of the window.
class Collector
{
public:
    Collector(const Frame &frame, std::vector<Target> &targets) : m_frame(frame), m_targets(targets) { }

    void add(const std::string &name, const Ring &ring, int x, int y)
    {
        const Area &window = m_frame.window;
        const int cx = window.width / 2; // as the program does
        const int cy = window.height / 2;
        const Place place = m_frame.place(cx + x, cy + y);
        m_targets.push_back({name, place, ring.diameter / 2.0 * m_frame.pixel().x});
    }

private:
    const Frame &m_frame;
    std::vector<Target> &m_targets;
};

/// The ends of the rows and columns that begin at the four inner targets of @p ring.
void addEnds(const Area &window, const Ring &ring, Audience audience, Collector &collector)
{
    const int a = ring.across;
    const int x = farthest(ring, window.width / 2);
    const int y = farthest(ring, window.height / 2);
    const bool hasRows = x > a;
    const bool hasColumns = y > a;
    if (hasRows)
        // TRANSLATORS: of the targets in rows and columns, the one that is farthest to the left, and so on.
        collector.add(tr("far left, upper row", audience), ring, -x, -a);
    if (hasColumns) {
        collector.add(tr("far top, left column", audience), ring, -a, -y);
        collector.add(tr("far top, right column", audience), ring, a, -y);
    }
    if (hasRows) {
        collector.add(tr("far right, upper row", audience), ring, x, -a);
        collector.add(tr("far right, lower row", audience), ring, x, a);
    }
    if (hasColumns) {
        collector.add(tr("far bottom, right column", audience), ring, a, y);
        collector.add(tr("far bottom, left column", audience), ring, -a, y);
    }
    if (hasRows)
        collector.add(tr("far left, lower row", audience), ring, -x, a);
}

} // namespace

Place Frame::place(double x, double y) const
{
    const Place unit = pixel();
    return {(window.x - screen.x + x) * unit.x, (window.y - screen.y + y) * unit.y};
}

Place Frame::pixel() const
{
    return {boardWidth / screen.width, boardWidth / screen.height};
}

double Scale::length(const Place &way) const
{
    return std::hypot(way.x * x, way.y * y);
}

std::vector<Target> targetsOf(const Frame &frame, Audience audience)
{
    std::vector<Target> targets;
    Collector collector(frame, targets);
    const std::vector<Ring> whole = wholeRings(frame.window);
    for (std::size_t i = 0; i < whole.size(); ++i) {
        const Ring &ring = whole[i];
        const auto name = [&](const char *corner) { return format(corner, i + 1); };
        // TRANSLATORS: the target at that corner, of the size with that number.
        collector.add(name(tr("size %zu, top left", audience)), ring, -ring.across, -ring.across);
        collector.add(name(tr("size %zu, top right", audience)), ring, ring.across, -ring.across);
        collector.add(name(tr("size %zu, bottom right", audience)), ring, ring.across, ring.across);
        collector.add(name(tr("size %zu, bottom left", audience)), ring, -ring.across, ring.across);
    }
    if (!whole.empty())
        addEnds(frame.window, whole.back(), audience, collector);
    return targets;
}

int sizesOf(const Frame &frame)
{
    return static_cast<int>(wholeRings(frame.window).size());
}

std::vector<Course> barCourses(const Frame &frame)
{
    const int x = thirdBlackBar * pattern::bar_width(frame.window.width);
    const Place top = frame.place(x, 0);
    const Place bottom = frame.place(x, frame.window.height);
    // TRANSLATORS: the way that a pen goes along the edge of a bar, as the next.
    return {{"down", trLater("Down"), top, bottom, true, 0, false},
            {"up", trLater("Up"), bottom, top, true, 0, false}};
}

std::vector<Course> gridCourses(const Frame &frame)
{
    const Place origin = frame.place(0, 0);
    const Place unit = frame.pixel();
    return {{"horizontal", trLater("Horizontal line"), origin, frame.place(frame.window.width, 0), true,
             pattern::cell * unit.y},
            {"vertical", trLater("Vertical line"), origin, frame.place(0, frame.window.height), true,
             pattern::cell * unit.x}};
}

std::vector<Course> diagonalCourses(const Frame &frame)
{
    const Area &window = frame.window;
    const Place topLeft = frame.place(0, 0);
    const Place bottomRight = frame.place(window.width, window.height);
    const Place topRight = frame.place(window.width, 0);
    const Place bottomLeft = frame.place(0, window.height);
    return {{"falling", trLater("From the top left"), topLeft, bottomRight, false},
            {"rising", trLater("From the top right"), topRight, bottomLeft, false}};
}

} // namespace acceptance
