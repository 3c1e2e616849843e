#pragma once

#include <QBrush>
#include <QSize>

#include <array>

class QPainter;

// The test patterns, drawn from the top left corner of a white image; coordinates are pixels. Each draws with
// the painter that it is given and leaves pen, brush and hints behind.

/// Dotted lines every 32 pixels.
void draw_grid(QPainter &painter, QSize size);
/// Cells of 32 pixels; rows of the first and third brush in turn with rows of the second and fourth.
void draw_colour_field(QPainter &painter, QSize size, const std::array<QBrush, 4> &brushes);
/// Square rings of targets around the centre, each ring one target wide and its targets half as large again.
void draw_targets(QPainter &painter, QSize size);
void draw_black(QPainter &painter, QSize size);
/// Seventeen columns, the even ones black when counted from 1; what is left over on the right stays white.
void draw_vertical_bars(QPainter &painter, QSize size);
/// The same in rows.
void draw_horizontal_bars(QPainter &painter, QSize size);
/// The keyboard controls.
void draw_help(QPainter &painter);

/// Draws a circle of diameter @p size around (@p x, @p y) with a cross half as wide, all truncated to whole
/// pixels, with the painter's pen and brush.
void target(QPainter &painter, float x, float y, float size);
