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

/// Straight segments through at least one point, followed at constant speed. Along one point nothing moves. A
/// bent line is displaced by a parabola, to the right of the way from its first point to its last one.
struct Line
{
    std::vector<Point> points;
    std::vector<double> lengths; ///< raw board units: length of the line up to each point
    double curve = 0;            ///< raw board units: how far it is bent at its half; 0 if its ends coincide
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

/// @p points must not be empty, and their ends must differ if @p curve is not 0.
Path linePath(std::vector<Point> points, double curve = 0);

/// Returns the point after @p fraction (0 to 1) of the path.
Point pointOn(const Path &path, double fraction);

} // namespace boardsim
