#include "strokeslayer.h"

#include "roundline.h"

#include <QBrush>
#include <QColor>
#include <QPainterPath>

#include <cmath>
#include <utility>

namespace {

bool is_point(const QLineF &line)
{
    return std::abs(line.x1() - line.x2()) <= same_position
        && std::abs(line.y1() - line.y2()) <= same_position;
}

} // namespace

StrokesLayer::StrokesLayer(std::unique_ptr<QImage> image)
    : m_image(std::move(image)), m_painter(m_image.get())
{
    m_painter.setRenderHint(QPainter::Antialiasing);
}

void StrokesLayer::clear()
{
    m_image->fill(0);
}

void StrokesLayer::paint(const QLineF &line, float half_width, const QColor &colour,
                         QPainter::CompositionMode mode)
{
    // Erasers never paint white: the pattern has to show through.
    m_painter.setCompositionMode(colour == Qt::white ? QPainter::CompositionMode_Clear : mode);
    // The same pixels, but Qt's rasteriser takes milliseconds for a line that is far larger than the image.
    if (covers(line, half_width, m_image->rect()))
        m_painter.fillRect(m_image->rect(), colour);
    else if (is_point(line))
        paint_dot(line.p1(), half_width, colour);
    else if (colour == Qt::white || !m_short_lines.draw(m_painter, line, half_width, colour))
        draw_round_line(m_painter, line, half_width, colour);
}

void StrokesLayer::paint_dot(QPointF centre, float radius, const QColor &colour)
{
    QPainterPath dot;
    dot.addEllipse(centre.x() - double(radius), centre.y() - double(radius), 2 * double(radius),
                   2 * double(radius));
    m_painter.setPen(Qt::NoPen);
    m_painter.setBrush(QBrush(colour, Qt::SolidPattern));
    m_painter.drawPath(dot);
}
