#include "places.h"

using namespace latency;

namespace {

constexpr int margin = 20;         // left and right of the screen; pixels, as are all below
constexpr int step = 2;            // from one point to the next, across
constexpr int depth = 2;           // of the zigzag
constexpr int half_line = 3;       // the program's own stroke width
constexpr int turn = 8;            // how far out the path turns to the next row
constexpr int points_per_turn = 2; // the corners of the turn, whose proofs lie outside

int columns(const Area &area)
{
    return (area.right - area.left) / step;
}

/// The pixels just inside a round end of a line around @p at.
Point above(Point at)
{
    return {at.x, at.y - half_line};
}

Point below(Point at)
{
    return {at.x, at.y + half_line - 1};
}

Point beside(Point at, bool right)
{
    return {right ? at.x + half_line - 1 : at.x - half_line, at.y};
}

} // namespace

Area full_width(const Screen &screen, int top)
{
    return {margin, top, screen.width() - margin};
}

int dense_rows(int count, const Area &area)
{
    const int per_row = columns(area) + points_per_turn;
    return (count + per_row - 1) / per_row;
}

std::vector<Place> dense_path(int count, const Area &area)
{
    std::vector<Place> path;
    const int last = columns(area) - 1;
    const auto full = [&path, count] { return static_cast<int>(path.size()) >= count; };
    for (int row = 0; !full(); ++row) {
        const bool right = row % 2 == 0;
        const int y = area.top + dense_row_height * row;
        for (int i = 0; i <= last && !full(); ++i) {
            const int column = right ? i : last - i;
            const bool peak = column % 2 == 0;
            const Point at{area.left + step * column, peak ? y : y + depth};
            path.push_back({at, peak ? above(at) : below(at)});
        }
        const int edge = right ? area.left + step * last + turn : area.left - turn;
        for (int corner = 0; corner < points_per_turn && !full(); ++corner) {
            const Point at{edge, y + dense_row_height * corner};
            path.push_back({at, beside(at, right)});
        }
    }
    return path;
}
