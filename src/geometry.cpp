#include "geometry.h"

#include <algorithm>

QVector2D nearest_point_on_line(QVector2D p, QVector2D a, QVector2D b)
{
    const QVector2D ab = b - a;
    const float along = QVector2D::dotProduct(p - a, ab);
    const float whole = QVector2D::dotProduct(ab, ab);
    if (along <= 0)
        return a;
    if (along >= whole)
        return b;
    return a + ab * (along / whole);
}

float distance_squared_to_line(QVector2D p, QVector2D a, QVector2D b)
{
    return (p - nearest_point_on_line(p, a, b)).lengthSquared();
}

QVector2D nearest_point_on_polygon(const QPolygonF &polygon, int skip, QVector2D p, int &index)
{
    const auto point = [&polygon](int i) { return QVector2D(polygon.at(i)); };

    index = 0;
    if (polygon.size() < 2)
        return polygon.isEmpty() ? QVector2D() : point(0);
    skip = std::max(skip, 0);
    float best = distance_squared_to_line(p, point(0), point(1));
    for (int i = 1; i < polygon.size() - 1 - skip; ++i) {
        const float distance = distance_squared_to_line(p, point(i), point(i + 1));
        if (distance <= best) {
            best = distance;
            index = i;
        }
    }
    return nearest_point_on_line(p, point(index), point(index + 1));
}
