#pragma once

#include "strokesview.h"

#include <QColor>
#include <QImage>
#include <QLineF>

#include <gtest/gtest.h>

#include <array>
#include <vector>

/// The expected pictures of strokes, drawn piece by piece without the program, and a view to draw them in.
namespace strokes {

constexpr QSize widget_size(240, 180);

/// One piece of a stroke: half the width of the line, the radius of a dot; white clears.
struct Piece
{
    QLineF line;
    double width;
    QColor colour;
};
using Pieces = std::vector<Piece>;

Piece dot(QPointF at, double width, const QColor &colour);

/// A layer without strokes.
QImage empty_layer(QSize size = widget_size);
/// The strokes as they are drawn live, each over the last.
QImage live(const Pieces &pieces, QSize size = widget_size);
/// The strokes as they are rebuilt: each but the first replaces what is below it.
QImage rebuilt(const Pieces &pieces, QSize size = widget_size);
/// A layer of strokes over a pattern of one colour.
QImage over(const QColor &ground, const QImage &layer);

/// Strokes, segments, fewest, most and mean.
using Statistics = std::array<int, 5>;
Statistics statistics(const StrokesView &view);

/// A view without tags on plain white that has had its first size.
class Strokes : public testing::Test
{
protected:
    Strokes();

    void resize(QSize size);
    void pen(int buttons, QPointF pos, QPointF radius = {}, int id = -1);
    void touch(int buttons, QPointF pos, QPointF radius = {5, 5});
    void eraser(int buttons, QPointF pos, QPointF radius = {8, 8});

    /// A pen's stroke, an eraser's across it and a touch's across both; returns their pieces.
    Pieces draw_crossing_strokes();
    /// Two translucent strokes, for which drawing over another differs from replacing it.
    Pieces draw_translucent_strokes();

    testing::AssertionResult shows(const QImage &layer, const QColor &ground = Qt::white);

    StrokesView m_view;
};

} // namespace strokes
