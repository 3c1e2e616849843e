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

/// Straight pieces through the points, run at constant speed. Has at least one point; one alone stands still.
struct Line
{
    std::vector<Point> points;
    std::vector<double> lengths; ///< length of the line up to each point
};

/// Part of an ellipse. Angles in degrees: 0 points to the right, 90 down.
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

/// The point after @p fraction (0 to 1) of the path.
Point pointOn(const Path &path, double fraction);

} // namespace boardsim
