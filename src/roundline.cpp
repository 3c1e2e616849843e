#include "roundline.h"

#include <QBrush>
#include <QColor>
#include <QPainter>
#include <QPen>

#include <algorithm>

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
