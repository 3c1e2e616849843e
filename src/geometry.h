#pragma once

#include <QPolygonF>
#include <QVector2D>

// Distances to lines and polygons, in single precision. No state: any thread may call these.

/// The point of the segment from @p a to @p b, its ends included, that is nearest to @p p.
QVector2D nearest_point_on_line(QVector2D p, QVector2D a, QVector2D b);
/// The squared distance from @p p to the segment from @p a to @p b.
float distance_squared_to_line(QVector2D p, QVector2D a, QVector2D b);
/// The point of the open line through @p polygon's points that is nearest to @p p; @p index receives the
/// number of its segment, the later one of two equally near. The last @p skip segments are left out, none if
/// @p skip is negative, but never the first one. A polygon of one point gives that point, one without points
/// the origin, both with index 0.
QVector2D nearest_point_on_polygon(const QPolygonF &polygon, int skip, QVector2D p, int &index);
