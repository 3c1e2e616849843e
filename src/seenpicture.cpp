#include "seenpicture.h"

#include <QImage>
#include <QPaintDevice>
#include <QPaintEngine>
#include <QPainter>
#include <QRect>
#include <QTransform>

#include <cstddef>
#include <cstring>

#include <sys/mman.h>

namespace {

/// Memory for the part of a picture that is seen, as rows of the whole picture's width. The system provides
/// memory for a page of it when something is drawn there, and the part that is seen always begins at the same
/// page, so that its pages serve one picture after the other.
class Canvas
{
public:
    ~Canvas() { release(); }

    /// Transparent where @p seen, which is a part of @p picture, lies. Valid until the next call of either
    /// operation; null if there is no memory.
    QImage image(const QSize &picture, const QRect &seen)
    {
        const std::size_t row = std::size_t(picture.width()) * sizeof(QRgb);
        if (!reserve(row * std::size_t(picture.height())))
            return {};
        const std::size_t before = row * std::size_t(seen.y()) + std::size_t(seen.x()) * sizeof(QRgb);
        return {m_start + m_half - before, picture.width(), picture.height(), static_cast<int>(row),
                QImage::Format_ARGB32_Premultiplied};
    }

    void release()
    {
        if (m_start)
            munmap(m_start, 2 * m_half);
        m_start = nullptr;
        m_half = 0;
    }

private:
    /// Makes each half large enough for a picture; false if there is no memory.
    bool reserve(std::size_t bytes)
    {
        constexpr std::size_t most = std::size_t(1) << 40; // far more than any screen's contacts need
        if (bytes <= m_half)
            return true;
        if (bytes > most)
            return false;
        release();
        std::size_t half = std::size_t(1) << 24;
        while (half < bytes)
            half *= 2;
        void *const memory = mmap(nullptr, 2 * half, PROT_READ | PROT_WRITE,
                                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED)
            return false;
        madvise(memory, 2 * half, MADV_NOHUGEPAGE); // most of such a page would not be seen
        m_start = static_cast<uchar *>(memory);
        m_half = half;
        return true;
    }

    uchar *m_start = nullptr;
    std::size_t m_half = 0; ///< bytes
};

Canvas canvas;

void clear(QImage &image, const QRect &part)
{
    for (int y = part.top(); y < part.top() + part.height(); ++y)
        std::memset(image.scanLine(y) + std::size_t(part.x()) * sizeof(QRgb), 0,
                    std::size_t(part.width()) * sizeof(QRgb));
}

} // namespace

QRegion seen_region(const QPainter &painter)
{
    const QPaintDevice &device = *painter.device();
    const QRegion clip = painter.paintEngine()->systemClip();
    const QRegion shown = clip.isEmpty() ? QRegion(0, 0, device.width(), device.height()) : clip;
    return painter.deviceTransform().inverted().map(shown);
}

void show_seen(QPainter &painter, const QRect &place, const QRegion &seen,
               const std::function<void(QPainter &)> &draw)
{
    const QRegion visible = seen & place;
    if (visible.isEmpty())
        return;
    // As large as the whole picture, although only a part is drawn: in an image that cuts a shape off, Qt
    // rounds the shape's edges differently.
    QImage image = canvas.image(place.size(), visible.boundingRect().translated(-place.topLeft()));
    if (image.isNull())
        return;
    QPainter own_painter(&image);
    own_painter.setClipRegion(visible.translated(-place.topLeft()));
    draw(own_painter);
    own_painter.end();
    for (const QRect &part : visible) {
        const QRect source = part.translated(-place.topLeft());
        painter.drawImage(part.topLeft(), image, source);
        clear(image, source);
    }
}

void release_seen()
{
    canvas.release();
}
