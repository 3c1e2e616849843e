#pragma once

#include "shortlines.h"

#include <QImage>
#include <QLineF>
#include <QPainter>

#include <memory>

class QColor;

/// The image of the strokes, premultiplied ARGB and transparent where nothing is drawn, with its painter. The
/// painter stays open and keeps its pen, since making both takes longer than a short line.
///
/// Owned by the view of the strokes. Belongs to the GUI thread; coordinates are pixels of the image.
class StrokesLayer
{
public:
    /// @p image is not null.
    explicit StrokesLayer(std::unique_ptr<QImage> image);

    const QImage &image() const { return *m_image; }

    void clear();

    /// Paints one segment of a stroke, live and in a rebuild alike: a dot if it has no length, else a line.
    /// White is an eraser's colour: it makes the image transparent again. Other colours are composed by @p
    /// mode.
    void paint(const QLineF &line, float half_width, const QColor &colour, QPainter::CompositionMode mode);

private:
    void paint_dot(QPointF centre, float radius, const QColor &colour);

    std::unique_ptr<QImage> m_image;
    QPainter m_painter;
    ShortLines m_short_lines;
};
