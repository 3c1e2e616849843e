#include "path.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace boardsim {

namespace {

constexpr double radiansPerDegree = 3.14159265358979323846 / 180;

Point between(const Point &from, const Point &to, double fraction)
{
    return {from.x + (to.x - from.x) * fraction, from.y + (to.y - from.y) * fraction};
}

Point pointOnSegments(const Line &line, double fraction)
{
    const double wanted = line.lengths.back() * fraction;
    const auto next = std::lower_bound(line.lengths.begin(), line.lengths.end(), wanted);
    if (fraction >= 1 || next == line.lengths.end())
        return line.points.back();
    if (next == line.lengths.begin())
        return line.points.front();
    const auto to = static_cast<std::size_t>(next - line.lengths.begin());
    const double start = line.lengths[to - 1];
    return between(line.points[to - 1], line.points[to], (wanted - start) / (line.lengths[to] - start));
}

Point pointOn(const Line &line, double fraction)
{
    const Point point = pointOnSegments(line, fraction);
    if (line.curve == 0)
        return point;
    const double x = line.points.back().x - line.points.front().x;
    const double y = line.points.back().y - line.points.front().y;
    const double length = std::hypot(x, y);
    const double displacement = 4 * fraction * (1 - fraction) * line.curve;
    return {point.x - y / length * displacement, point.y + x / length * displacement};
}

Point pointOn(const Arc &arc, double fraction)
{
    const double angle = (arc.from + (arc.to - arc.from) * fraction) * radiansPerDegree;
    return {arc.centre.x + arc.radius.x * std::cos(angle), arc.centre.y + arc.radius.y * std::sin(angle)};
}

} // namespace

Path linePath(std::vector<Point> points, double curve)
{
    std::vector<double> lengths{0};
    for (std::size_t i = 1; i < points.size(); ++i) {
        const Point &from = points[i - 1];
        lengths.push_back(lengths.back() + std::hypot(points[i].x - from.x, points[i].y - from.y));
    }
    return Line{std::move(points), std::move(lengths), curve};
}

Point pointOn(const Path &path, double fraction)
{
    return std::visit([fraction](const auto &shape) { return pointOn(shape, fraction); }, path);
}

} // namespace boardsim
