#include "latency/contacts.h"

namespace latency {

namespace {

constexpr int rawPerScreen = 32768;

/// The least raw number that the program maps to @p pixels on a screen of @p whole pixels.
int raw(int pixels, int whole)
{
    return (pixels * rawPerScreen + whole - 1) / whole;
}

} // namespace

boardsim::Bytes Contacts::report(const std::vector<Point> &places, const Screen &screen, bool down) const
{
    const int size = raw(radius, screen.width());
    std::vector<boardsim::TouchContact> touches;
    std::vector<boardsim::EraseContact> erasers;
    int id = 0;
    for (const Point place : places) {
        const int x = raw(place.x, screen.width());
        const int y = raw(place.y, screen.height());
        if (kind == pen)
            return boardsim::penReport({0, x, y, down, false, false});
        touches.push_back({id, x, y, size, down});
        erasers.push_back({id, x, y, size, size, down});
        ++id;
    }
    return kind == touch ? boardsim::touchReport(touches) : boardsim::eraseReport(erasers);
}

Point serpentine(const Area &area, int step, int count)
{
    const int columns = (area.right - area.left) / step + 1;
    const int row = count / columns;
    const int column = row % 2 == 0 ? count % columns : columns - 1 - count % columns;
    return {area.left + step * column, area.top + step * row};
}

} // namespace latency
