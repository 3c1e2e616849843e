#include "accept/geometry.h"

#include "patterngeometry.h"

#include <cmath>

namespace acceptance {

namespace {

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
void addEnds(const Area &window, const Ring &ring, Collector &collector)
{
    const int a = ring.across;
    const int x = farthest(ring, window.width / 2);
    const int y = farthest(ring, window.height / 2);
    const bool hasRows = x > a;
    const bool hasColumns = y > a;
    if (hasRows)
        collector.add("far left, upper row", ring, -x, -a);
    if (hasColumns) {
        collector.add("far top, left column", ring, -a, -y);
        collector.add("far top, right column", ring, a, -y);
    }
    if (hasRows) {
        collector.add("far right, upper row", ring, x, -a);
        collector.add("far right, lower row", ring, x, a);
    }
    if (hasColumns) {
        collector.add("far bottom, right column", ring, a, y);
        collector.add("far bottom, left column", ring, -a, y);
    }
    if (hasRows)
        collector.add("far left, lower row", ring, -x, a);
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

std::vector<Target> targetsOf(const Frame &frame)
{
    std::vector<Target> targets;
    Collector collector(frame, targets);
    const std::vector<Ring> whole = wholeRings(frame.window);
    for (std::size_t i = 0; i < whole.size(); ++i) {
        const Ring &ring = whole[i];
        const std::string size = "size " + std::to_string(i + 1);
        collector.add(size + ", top left", ring, -ring.across, -ring.across);
        collector.add(size + ", top right", ring, ring.across, -ring.across);
        collector.add(size + ", bottom right", ring, ring.across, ring.across);
        collector.add(size + ", bottom left", ring, -ring.across, ring.across);
    }
    if (!whole.empty())
        addEnds(frame.window, whole.back(), collector);
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
    return {{"down", "Down", top, bottom, true, 0, false}, {"up", "Up", bottom, top, true, 0, false}};
}

std::vector<Course> gridCourses(const Frame &frame)
{
    const Place origin = frame.place(0, 0);
    const Place unit = frame.pixel();
    return {{"horizontal", "Horizontal line", origin, frame.place(frame.window.width, 0), true,
             pattern::cell * unit.y},
            {"vertical", "Vertical line", origin, frame.place(0, frame.window.height), true,
             pattern::cell * unit.x}};
}

std::vector<Course> diagonalCourses(const Frame &frame)
{
    const Area &window = frame.window;
    const Place topLeft = frame.place(0, 0);
    const Place bottomRight = frame.place(window.width, window.height);
    const Place topRight = frame.place(window.width, 0);
    const Place bottomLeft = frame.place(0, window.height);
    return {{"falling", "From the top left", topLeft, bottomRight, false},
            {"rising", "From the top right", topRight, bottomLeft, false}};
}

} // namespace acceptance
