#pragma once

#include <variant>
#include <vector>

namespace boardsim {

/// A point in raw board units.
struct Point
{
    double x = 0;
    double y = 0;
};

/// Straight segments through at least one point, followed at constant speed. Along one point nothing moves.
struct Line
{
    std::vector<Point> points;
    std::vector<double> lengths; ///< raw board units: length of the line up to each point
};

/// Part of an ellipse, in raw board units. Angles are in degrees: 0 points to the right, 90 down.
struct Arc
{
    Point centre;
    Point radius;
    double from = 0;
    double to = 0;
};

using Path = std::variant<Line, Arc>;

/// @p points must not be empty.
Path linePath(std::vector<Point> points);

/// Returns the point after @p fraction (0 to 1) of the path.
Point pointOn(const Path &path, double fraction);

} // namespace boardsim
