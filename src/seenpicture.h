#pragma once

#include <QRegion>

#include <functional>

class QPainter;
class QRect;

/// What @p painter shows of its device, in its own coordinates.
QRegion seen_region(const QPainter &painter);

/// Draws the part @p seen of a picture that is not kept, and composes it with what @p painter has drawn
/// before. All in the painter's coordinates, which are pixels; the picture lies at @p place, and @p draw gets
/// a painter with the origin at the picture's top left corner. Only the pixels that are seen take memory;
/// nothing is shown if there is none. GUI thread only.
void show_seen(QPainter &painter, const QRect &place, const QRegion &seen,
               const std::function<void(QPainter &)> &draw);

/// Gives back the memory of the pixels that show_seen has drawn, which the next call of it uses again.
void release_seen();
