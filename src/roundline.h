#pragma once

#include <QLineF>
#include <QRect>

class QColor;
class QPainter;

// Straight lines with round ends, of which strokes are made. Pixels throughout; a line's half width reaches
// from its middle to its edge. No state: any thread may call these.

/// Draws the line with @p painter and sets its pen; a solid pen of this width and colour that it has already
/// is taken to have round ends. Half a width of 0 gives Qt's cosmetic line of one pixel.
void draw_round_line(QPainter &painter, const QLineF &line, float half_width, const QColor &colour);
/// The pixels that the line may touch.
QRect covered_pixels(const QLineF &line, float half_width);
