#pragma once

#include <QLineF>
#include <QRect>

class QColor;
class QPainter;

constexpr double same_position = 1e-12; // pixels: closer than this is equal

// Straight lines with round ends, of which strokes are made. Pixels throughout; a line's half width reaches
// from its middle to its edge. No state: any thread may call these.

/// Draws the line with @p painter and sets its pen; half a width of 0 gives Qt's cosmetic line of one pixel.
void draw_round_line(QPainter &painter, const QLineF &line, float half_width, const QColor &colour);
/// The pixels that the line may touch.
QRect covered_pixels(const QLineF &line, float half_width);
/// Whether the line, or the dot if it has no length, surely covers every pixel of @p area completely. It may
/// also be false a few pixels before that.
bool covers(const QLineF &line, float half_width, const QRect &area);
