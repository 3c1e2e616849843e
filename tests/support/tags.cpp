#include "support/tags.h"

#include "item.h"

#include <QFont>
#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>
#include <QPen>

#include <cmath>

namespace {

/// Where the picture is cut off: the bounds of circle and box, extended by 1 px at left and top and by 3 px
/// at right and bottom, in whole pixels.
QRect cut_of(const Tag &tag)
{
    const QRectF all = circle_of(tag).united(box_of(tag));
    const QPoint at(static_cast<int>(std::floor(tag.pos.x()) + std::floor(all.x() - 1)),
                    static_cast<int>(std::floor(tag.pos.y()) + std::floor(all.y() - 1)));
    return {at, QSize(static_cast<int>(all.width() + 4), static_cast<int>(all.height() + 4))};
}

} // namespace

QRectF circle_of(const Tag &tag)
{
    return {-tag.radius.x(), -tag.radius.y(), 2 * tag.radius.x(), 2 * tag.radius.y()};
}

QRectF box_of(const Tag &tag)
{
    return {-tag.radius.x() - 150, -tag.radius.y() - 125, 150, 125};
}

QPainterPath text_of(const Tag &tag)
{
    QFont font;
    font.setStyleHint(QFont::Serif, QFont::PreferAntialias);
    font.setPixelSize(16);
    QPainterPath text;
    for (int i = 0; i < tag.lines.size(); ++i)
        text.addText(box_of(tag).left(), box_of(tag).top() + (i + 1) * QFontMetrics(font).height(), font,
                     tag.lines.at(i));
    return text;
}

QImage empty_canvas()
{
    QImage canvas(800, 600, QImage::Format_RGB32);
    canvas.fill(Qt::white);
    return canvas;
}

QImage painted(const Item &item)
{
    QImage canvas = empty_canvas();
    QPainter painter(&canvas);
    painter.translate(origin);
    item.paint(painter);
    return canvas;
}

QImage drawn(const Tag &tag)
{
    QImage canvas = empty_canvas();
    const QRect cut = cut_of(tag);
    QImage layer(cut.size(), QImage::Format_ARGB32_Premultiplied);
    layer.fill(Qt::transparent);
    {
        QPainterPath shape;
        shape.addEllipse(circle_of(tag));
        shape.addRect(box_of(tag));
        QPainterPath cross(QPointF(0, -tag.radius.y()));
        cross.lineTo(0, tag.radius.y());
        cross.moveTo(-tag.radius.x(), 0);
        cross.lineTo(tag.radius.x(), 0);
        QPen pen(Qt::black, 0, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
        pen.setCosmetic(true);

        QPainter painter(&layer);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(tag.pos - cut.topLeft());
        painter.setPen(pen);
        painter.setBrush(tag.colour);
        painter.drawPath(shape);
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(cross);
        painter.fillPath(text_of(tag), Qt::black);
    }
    QPainter(&canvas).drawImage(cut.topLeft() + origin, layer);
    return canvas;
}
