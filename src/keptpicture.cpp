#include "keptpicture.h"

#include <QPainter>
#include <QTransform>

#include <cmath>

namespace {

constexpr int antialiasing_margin = 1; // pixels around what is drawn
constexpr qsizetype bookkeeping = 256; // bytes of QImageData and of the heap's blocks

QRect touched_pixels(const QRectF &area, Subpixel subpixel)
{
    constexpr int m = antialiasing_margin;
    return area.translated(subpixel.x, subpixel.y).toAlignedRect().adjusted(-m, -m, m, m);
}

} // namespace

PixelPosition::PixelPosition(QPointF position)
    : pixel(QPointF(std::floor(position.x()), std::floor(position.y())).toPoint()),
      subpixel{position.x() - pixel.x(), position.y() - pixel.y()}
{
}

bool KeptPicture::can_replace(const QPainter &painter)
{
    return painter.transform().type() <= QTransform::TxTranslate
        && painter.testRenderHint(QPainter::Antialiasing);
}

KeptPicture::KeptPicture(const QRect &pixels, Subpixel subpixel, const Draw &draw)
    : m_subpixel(subpixel), m_offset(pixels.topLeft())
{
    m_image = QImage(pixels.size(), QImage::Format_ARGB32_Premultiplied);
    if (is_null())
        return;
    m_image.fill(Qt::transparent);
    // An image keeps the paint engine that it was painted with, which takes more memory than most pictures:
    // this one only borrows the pixels, and takes the engine with it.
    QImage canvas(m_image.bits(), m_image.width(), m_image.height(), m_image.bytesPerLine(),
                  m_image.format());
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(QPointF(subpixel.x, subpixel.y) - m_offset);
    draw(painter);
}

KeptPicture KeptPicture::around(const QRectF &area, Subpixel subpixel, const Draw &draw)
{
    return {touched_pixels(area, subpixel), subpixel, draw};
}

void KeptPicture::show(QPainter &painter, QPoint origin) const
{
    const bool transformed = painter.worldMatrixEnabled();
    painter.setWorldMatrixEnabled(false);
    painter.drawImage(origin + m_offset, m_image);
    painter.setWorldMatrixEnabled(transformed);
}

QRect KeptPicture::covered(QPoint origin) const
{
    return {origin + m_offset, m_image.size()};
}

bool KeptPicture::touches(QPoint origin, const KeptPicture &other, QPoint other_origin) const
{
    const QRect common = covered(origin) & other.covered(other_origin);
    for (int y = common.top(); y < common.top() + common.height(); ++y) {
        const QRgb *const own_row = row(origin, common.left(), y);
        const QRgb *const other_row = other.row(other_origin, common.left(), y);
        for (int x = 0; x < common.width(); ++x) {
            if (own_row[x] != 0 && other_row[x] != 0)
                return true;
        }
    }
    return false;
}

const QRgb *KeptPicture::row(QPoint origin, int x, int y) const
{
    const QPoint at = QPoint(x, y) - origin - m_offset;
    return reinterpret_cast<const QRgb *>(m_image.constScanLine(at.y())) + at.x();
}

qsizetype KeptPicture::memory() const
{
    return m_image.sizeInBytes() + bookkeeping;
}
