#pragma once

#include <QColor>
#include <QImage>
#include <QPainterPath>
#include <QPoint>
#include <QPointF>
#include <QRectF>
#include <QStringList>

class Item;

/// The expected look of an info tag and its circle, in pixels.
struct Tag
{
    QPointF pos;
    QPointF radius; ///< radius of the circle as drawn
    QStringList lines;
    QColor colour = QColor(255, 0, 0, 32);
};

QRectF circle_of(const Tag &tag);
QRectF box_of(const Tag &tag);
QPainterPath text_of(const Tag &tag);

// Pictures of 800 by 600 pixels, in which the view's origin lies so that they show what is outside the view.

constexpr QPoint origin(400, 300);

QImage empty_canvas();
QImage painted(const Item &item);
/// What the tag has to look like, drawn from the rules.
QImage drawn(const Tag &tag);
