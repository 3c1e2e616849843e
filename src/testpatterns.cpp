#include "testpatterns.h"

#include "patterngeometry.h"

#include <QFont>
#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>
#include <QPen>

#include <algorithm>
#include <cstddef>

namespace {

using pattern::cell;

constexpr int help_text_size = 32; // pixels

void set_outline_pen(QPainter &painter, Qt::PenStyle style)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QBrush(Qt::black, Qt::SolidPattern), 0.0, style, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
}

} // namespace

void draw_grid(QPainter &painter, QSize size)
{
    set_outline_pen(painter, Qt::DotLine);
    for (int x = 0; x < size.width(); x += cell)
        painter.drawLine(x, 0, x, size.height());
    for (int y = 0; y < size.height(); y += cell)
        painter.drawLine(0, y, size.width(), y);
}

void draw_colour_field(QPainter &painter, QSize size, const std::array<QBrush, 4> &brushes)
{
    for (int y = 0; y < size.height(); y += cell) {
        for (int x = 0; x < size.width(); x += cell) {
            const int colour = 2 * (x / cell % 2) + y / cell % 2;
            painter.fillRect(x, y, cell, cell, brushes.at(static_cast<std::size_t>(colour)));
        }
    }
}

void draw_targets(QPainter &painter, QSize size)
{
    set_outline_pen(painter, Qt::SolidLine);
    const int cx = size.width() / 2;
    const int cy = size.height() / 2;
    for (const pattern::Ring &ring : pattern::rings(size.width())) {
        const int end = ring.diameter / 2 + std::max(cx, cy);
        const auto draw = [&](int x, int y) { target(painter, float(x), float(y), float(ring.diameter)); };
        for (int along = ring.across; along < end; along += ring.diameter) {
            draw(cx + along, cy + ring.across);
            draw(cx + along, cy - ring.across);
            draw(cx - along, cy + ring.across);
            draw(cx - along, cy - ring.across);
            draw(cx + ring.across, cy + along);
            draw(cx + ring.across, cy - along);
            draw(cx - ring.across, cy + along);
            draw(cx - ring.across, cy - along);
        }
    }
}

void draw_black(QPainter &painter, QSize size)
{
    painter.fillRect(QRect(QPoint(), size), Qt::black);
}

void draw_vertical_bars(QPainter &painter, QSize size)
{
    painter.fillRect(QRect(QPoint(), size), Qt::white);
    const int step = pattern::bar_width(size.width());
    for (int i = 1; i < pattern::bars; i += 2)
        painter.fillRect(step * i, 0, step, size.height(), Qt::black);
}

void draw_horizontal_bars(QPainter &painter, QSize size)
{
    painter.fillRect(QRect(QPoint(), size), Qt::white);
    const int step = pattern::bar_width(size.height());
    for (int i = 1; i < pattern::bars; i += 2)
        painter.fillRect(0, step * i, size.width(), step, Qt::black);
}

void draw_help(QPainter &painter)
{
    static constexpr const char *lines[] = {
        "Keyboard controls",
        "H to toggle this help screen",
        "ESC to exit",
        "ENTER to toggle full screen",
        "BACKSPACE to clear strokes",
        "SPACE to toggle info tag boxes",
        "G to toggle grid",
        "S to toggle shape field",
        "C to toggle colour field",
        "B to toggle all black",
        "<- to toggle vertical bars",
        "-> to toggle horizontal bars",
        "0-9 to select stroke width",
    };
    QFont font;
    font.setStyleHint(QFont::Serif, QFont::PreferAntialias);
    font.setPixelSize(help_text_size);

    const int line_height = QFontMetrics(font).height();
    painter.setRenderHint(QPainter::Antialiasing);
    int baseline = 0;
    // One by one, since Qt fills large outlines slowly. Lines this far apart share no pixel.
    for (const char *const line : lines) {
        baseline += line_height;
        QPainterPath text;
        text.addText(0, baseline, font, QString::fromLatin1(line));
        painter.fillPath(text, Qt::black);
    }
}

void target(QPainter &painter, float x, float y, float size)
{
    const auto whole = [](float value) { return static_cast<int>(value); };
    const float radius = 0.5F * size;
    const float arm = 0.25F * size;
    painter.drawEllipse(whole(x - radius), whole(y - radius), whole(size), whole(size));
    painter.drawLine(whole(x - arm), whole(y), whole(x + arm), whole(y));
    painter.drawLine(whole(x), whole(y - arm), whole(x), whole(y + arm));
}
