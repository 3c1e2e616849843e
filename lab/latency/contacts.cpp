#include "latency/contacts.h"

#include <algorithm>

namespace latency {

namespace {

constexpr int rawPerScreen = 32768;
constexpr int mostInReport = 10;
static_assert(2 + 7 * mostInReport <= Delivery::longestReport, "a report of touches fits into a delivery");

/// The least raw number that the program maps to @p pixels on a screen of @p whole pixels.
int raw(int pixels, int whole)
{
    return (pixels * rawPerScreen + whole - 1) / whole;
}

} // namespace

boardsim::Bytes Contacts::report(const std::vector<Point> &places, const Screen &screen, bool down,
                                 int firstId) const
{
    const int size = raw(radius, screen.width());
    std::vector<boardsim::TouchContact> touches;
    std::vector<boardsim::EraseContact> erasers;
    int id = firstId;
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

std::vector<boardsim::Bytes> Contacts::reports(const std::vector<Point> &places, const Screen &screen,
                                               bool down) const
{
    std::vector<boardsim::Bytes> reports;
    const int all = static_cast<int>(places.size());
    for (int first = 0; first < all; first += mostInReport) {
        const auto begin = places.begin() + first;
        reports.push_back(report({begin, begin + std::min(mostInReport, all - first)}, screen, down, first));
    }
    return reports;
}

Point serpentine(const Area &area, int step, int count)
{
    const int columns = (area.right - area.left) / step + 1;
    const int row = count / columns;
    const int column = row % 2 == 0 ? count % columns : columns - 1 - count % columns;
    return {area.left + step * column, area.top + step * row};
}

} // namespace latency
