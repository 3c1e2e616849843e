#pragma once

#include <QImage>
#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QRectF>
#include <QRgb>

#include <functional>

class QPainter;

/// How far a position lies beyond its pixel's top left corner, 0 up to 1 in each direction. Compared exactly,
/// since QPointF compares with a tolerance.
struct Subpixel
{
    double x = 0;
    double y = 0;

    bool operator==(const Subpixel &other) const { return x == other.x && y == other.y; }
    bool operator!=(const Subpixel &other) const { return !(*this == other); }
    bool operator<(const Subpixel &other) const { return x < other.x || (x == other.x && y < other.y); }
};

/// A position, split into the pixel that it lies in and what is left.
struct PixelPosition
{
    explicit PixelPosition(QPointF position);

    QPoint pixel;
    Subpixel subpixel;
};

/// What was drawn once around an origin and is copied from then on. Antialiasing leaves the same pixels again
/// only if the origin lies at the same subpixel, so that each picture holds for one of them. Lengths in
/// pixels.
///
/// A plain value that shares its pixels when copied; any thread may make and show one of its own.
class KeptPicture
{
public:
    using Draw = std::function<void(QPainter &)>;

    /// Whether what @p painter draws can be kept: it is the same again after a move by whole pixels.
    static bool can_replace(const QPainter &painter);

    /// Holds nothing.
    KeptPicture() = default;
    /// Holds what @p draw draws in @p pixels, counted from the origin's pixel, with the origin at @p
    /// subpixel. Holds nothing if there is no memory for it.
    KeptPicture(const QRect &pixels, Subpixel subpixel, const Draw &draw);
    /// The same in all pixels that @p area, which counts from the origin itself, may touch. Named, since a
    /// QRect would convert to a QRectF and count from elsewhere.
    static KeptPicture around(const QRectF &area, Subpixel subpixel, const Draw &draw);

    bool is_null() const { return m_image.isNull(); }
    /// Whether this was drawn with the origin at @p subpixel.
    bool suits(Subpixel subpixel) const { return !is_null() && m_subpixel == subpixel; }
    /// Copies the picture to where the origin lies in the pixel @p origin of the painter's device, whatever
    /// the painter's transform.
    void show(QPainter &painter, QPoint origin) const;
    /// The pixels that it covers if the origin lies in the pixel @p origin.
    QRect covered(QPoint origin) const;
    /// Whether both leave something in the same pixel if their origins lie in these pixels.
    bool touches(QPoint origin, const KeptPicture &other, QPoint other_origin) const;
    /// Bytes that it takes, with what Qt and the heap need to hold it.
    qsizetype memory() const;

private:
    /// The pixels of the row @p y, from column @p x on, if the origin lies in the pixel @p origin.
    const QRgb *row(QPoint origin, int x, int y) const;

    Subpixel m_subpixel;
    QImage m_image;  ///< premultiplied ARGB
    QPoint m_offset; ///< of the image's top left corner, from the origin's pixel
};
