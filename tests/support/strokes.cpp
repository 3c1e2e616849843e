#include "support/strokes.h"

#include "support/items.h"
#include "support/pictures.h"

namespace strokes {

namespace {

void draw(QPainter &painter, const Piece &piece)
{
    if (piece.colour == Qt::white)
        painter.setCompositionMode(QPainter::CompositionMode_Clear);
    if (piece.line.p1() == piece.line.p2()) {
        QPainterPath circle;
        circle.addEllipse(piece.line.p1(), piece.width, piece.width);
        painter.fillPath(circle, piece.colour);
        return;
    }
    painter.setPen(QPen(piece.colour, 2 * piece.width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawLine(piece.line);
}

} // namespace

Piece dot(QPointF at, double width, const QColor &colour)
{
    return {{at, at}, width, colour};
}

QImage empty_layer(QSize size)
{
    QImage layer(size, QImage::Format_ARGB32_Premultiplied);
    layer.fill(Qt::transparent);
    return layer;
}

QImage live(const Pieces &pieces, QSize size)
{
    QImage layer = empty_layer(size);
    for (const Piece &piece : pieces) {
        QPainter painter(&layer);
        painter.setRenderHint(QPainter::Antialiasing);
        draw(painter, piece);
    }
    return layer;
}

QImage rebuilt(const Pieces &pieces, QSize size)
{
    QImage layer = empty_layer(size);
    QPainter painter(&layer);
    painter.setRenderHint(QPainter::Antialiasing);
    for (const Piece &piece : pieces) {
        draw(painter, piece);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
    }
    return layer;
}

QImage over(const QColor &ground, const QImage &layer)
{
    QImage picture(layer.size(), QImage::Format_RGB32);
    picture.fill(ground);
    QPainter(&picture).drawImage(0, 0, layer);
    return picture;
}

Statistics statistics(const StrokesView &view)
{
    Statistics all{-7, -7, -7, -7, -7};
    view.statistics(all[0], all[1], all[2], all[3], all[4]);
    return all;
}

Strokes::Strokes()
{
    m_view.m_show_tags = false;
    m_view.toggle_help();
    resize(widget_size);
}

void Strokes::resize(QSize size)
{
    m_view.resize(size);
    m_view.grab(); // a hidden widget gets its resize event only when it is painted
}

void Strokes::pen(int buttons, QPointF pos, QPointF radius, int id)
{
    m_view.in_pen_event(contact(id, buttons, pos, radius));
}

void Strokes::touch(int buttons, QPointF pos, QPointF radius)
{
    m_view.in_touch_event({contact(256, buttons, pos, radius)});
}

void Strokes::eraser(int buttons, QPointF pos, QPointF radius)
{
    m_view.in_erase_event({contact(512, buttons, pos, radius)});
}

Pieces Strokes::draw_crossing_strokes()
{
    pen(1, {20.5, 30.25});
    pen(1, {150, 100.5});
    pen(0, {150, 100.5});
    eraser(1, {70, 20});
    eraser(0, {75.5, 90});
    touch(1, {30, 110.5});
    touch(0, {160, 40.25});
    return {dot({20.5, 30.25}, 3, Qt::red),         {{20.5, 30.25, 150, 100.5}, 3, Qt::red},
            dot({150, 100.5}, 3, Qt::red),          dot({70, 20}, 8, Qt::white),
            {{70, 20, 75.5, 90}, 8, Qt::white},     dot({30, 110.5}, 5, Qt::green),
            {{30, 110.5, 160, 40.25}, 5, Qt::green}};
}

Pieces Strokes::draw_translucent_strokes()
{
    const QColor red(255, 0, 0, 128);
    const QColor blue(0, 0, 255, 100);
    m_view.draw_stroke(contact(1, 1, {20.5, 30.25}), red);
    m_view.draw_stroke(contact(1, 0, {150, 100.5}), red);
    m_view.draw_stroke(contact(2, 1, {30, 110.5}), blue);
    m_view.draw_stroke(contact(2, 0, {160, 40.25}), blue);
    return {dot({20.5, 30.25}, 3, red),
            {{20.5, 30.25, 150, 100.5}, 3, red},
            dot({30, 110.5}, 3, blue),
            {{30, 110.5, 160, 40.25}, 3, blue}};
}

testing::AssertionResult Strokes::shows(const QImage &layer, const QColor &ground)
{
    return same_picture(picture_of(m_view), over(ground, layer));
}

} // namespace strokes
