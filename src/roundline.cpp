#include "roundline.h"

#include "geometry.h"

#include <QBrush>
#include <QColor>
#include <QPainter>
#include <QPen>

#include <algorithm>

namespace {

// What a painted line may lack of its half width.
constexpr float edge_margin = 3;     // pixels: more than its edge is soft and its curves are flattened
constexpr float edge_error = 0.001F; // of the half width: more than the error of Qt's curves

} // namespace

void draw_round_line(QPainter &painter, const QLineF &line, float half_width, const QColor &colour)
{
    const double width = 2 * double(half_width);
    const QPen &pen = painter.pen();
    // Setting a pen takes longer than a short line, and most lines have the pen of the one before.
    if (pen.style() != Qt::SolidLine || pen.capStyle() != Qt::RoundCap || pen.widthF() != width
        || pen.color() != colour)
        painter.setPen(
            QPen(QBrush(colour, Qt::SolidPattern), width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawLines(&line, 1);
}

QRect covered_pixels(const QLineF &line, float half_width)
{
    const auto [left, right] = std::minmax({static_cast<int>(line.x1()), static_cast<int>(line.x2())});
    const auto [top, bottom] = std::minmax({static_cast<int>(line.y1()), static_cast<int>(line.y2())});
    const auto margin = static_cast<int>(double(half_width) + 1.0);
    // Both end pixels belong to it, as QRect counts its corners.
    return QRect(QPoint(left, top), QPoint(right, bottom)).adjusted(-margin, -margin, margin, margin);
}

bool covers(const QLineF &line, float half_width, const QRect &area)
{
    const float reach = half_width * (1 - edge_error) - edge_margin;
    if (2 * reach < static_cast<float>(std::min(area.width(), area.height())))
        return false;
    // A line with round ends is convex: it covers what lies between the points that it covers.
    const QRectF edges(area);
    const auto corners = {edges.topLeft(), edges.topRight(), edges.bottomLeft(), edges.bottomRight()};
    return std::all_of(corners.begin(), corners.end(), [&](QPointF corner) {
        return distance_squared_to_line(QVector2D(corner), QVector2D(line.p1()), QVector2D(line.p2()))
            < reach * reach;
    });
}
