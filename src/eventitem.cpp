#include "item.h"

#include "keptpicture.h"
#include "picturememory.h"
#include "seenpicture.h"
#include "tagtext.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr double default_radius = 25; // pixels, for contacts without a size
constexpr double tag_width = 150;     // pixels
constexpr double tag_height = 125;    // pixels

constexpr double most_kept_pixels = 1 << 20;   // of a shape: a larger one is drawn again each time
constexpr qint64 most_cached_pixels = 1 << 21; // about a view's: of a larger picture most is not seen

// Of a circle that is filled where it is seen, in pixels.
constexpr double least_filled_radius = 256; // far more than text that reaches over its tag
constexpr double edge_margin = 3;
constexpr double edge_error = 0.001; // of the radius: more than that of Qt's curves
constexpr int cross_margin = 2;
constexpr int band_height = 32;

QPen outline_pen()
{
    QPen pen(Qt::black, 1, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
    pen.setCosmetic(true);
    return pen;
}

QString eight_bits(int value)
{
    return QString::number(value + 256, 2).right(8);
}

} // namespace

/// Circle, tag and cross, and the lines of the tag, as they were last drawn: from one record to the next most
/// of it stays.
struct EventItem::Drawn
{
    const std::shared_ptr<TagText> text = TagText::in_application_font();
    QPointF radius; ///< of the circle in the last rebuild, pixels; never (0, 0) after one
    KeptPicture shape;
    PictureMemory shape_memory;
    PictureMemory cache_memory;
    TagText::Lines lines;

    void forget_shape()
    {
        shape = {};
        shape_memory = {};
    }
};

EventItem::EventItem(QPointF position, QColor colour)
    : Item(position, 0, 1.0F, 0), m_colour(std::move(colour)), m_drawn(std::make_unique<Drawn>())
{
    m_hit_testable = false;
}

EventItem::~EventItem()
{
    update_end();
}

void EventItem::refresh(const Korvane::Controls &event)
{
    m_position = event.pos;
    set_transforms();
    m_radius = event.radius;
    m_buttons = event.buttons;
    m_contact_id = event.id;
    m_update_flags = update_all;
}

void EventItem::rebuild()
{
    const bool has_size = QVector2D(m_radius).length() > 0;
    const QPointF r = has_size ? m_radius : QPointF(default_radius, default_radius);
    const QRectF circle(-r.x(), -r.y(), 2 * r.x(), 2 * r.y());
    const QRectF tag(circle.left() - tag_width, circle.top() - tag_height, tag_width, tag_height);

    m_shape = QPainterPath();
    m_shape.addEllipse(circle);
    m_shape.addRect(tag);

    m_text_corner = tag.topLeft();
    m_values = {QString::number(m_contact_id),   QString::number(m_position.x()),
                QString::number(m_position.y()), QString::number(m_radius.x()),
                QString::number(m_radius.y()),   eight_bits(m_buttons)};

    m_cross = QPainterPath();
    m_cross.moveTo(0, -r.y());
    m_cross.lineTo(0, r.y());
    m_cross.moveTo(-r.x(), 0);
    m_cross.lineTo(r.x(), 0);

    set_outline(m_shape);
    // Exactly, since QPointF compares with a tolerance.
    if (m_drawn->radius.x() != r.x() || m_drawn->radius.y() != r.y())
        m_drawn->forget_shape();
    m_drawn->radius = r;
}

void EventItem::redraw(QPainter &painter)
{
    draw_circle_and_tag(painter);
    draw_text(painter);
}

std::unique_ptr<QImage> EventItem::new_cache(const QSize &size)
{
    PictureMemory &memory = m_drawn->cache_memory;
    memory = {}; // of the last cache, which is gone
    if (qint64(size.width()) * size.height() > most_cached_pixels)
        return nullptr;
    memory = PictureMemory(size);
    return memory.is_held() ? Item::new_cache(size) : nullptr;
}

void EventItem::paint_without_cache(QPainter &painter) const
{
    const QRect place = picture_area();
    const QRegion seen = seen_region(painter) & place;
    const QRegion inside = inside_circle(seen.boundingRect()) & seen;
    const QRegion cross = inside & around_cross(seen.boundingRect());
    for (const QRect &part : inside - cross)
        painter.fillRect(part, m_colour);
    for (const QRect &part : cross) {
        show_seen(painter, place, part, [&](QPainter &own_painter) {
            own_painter.fillRect(part.translated(-place.topLeft()), m_colour);
            enter_item(own_painter);
            draw_cross(own_painter);
        });
    }

    const QRegion rest = seen - inside;
    const QRectF text =
        QRectF(m_text_corner, 2 * QSizeF(tag_width, tag_height)).translated(m_rendered_position);
    show_seen(painter, place, rest, [&](QPainter &own_painter) {
        enter_item(own_painter);
        draw_circle_and_tag(own_painter);
        if (rest.intersects(text.toAlignedRect()))
            draw_text(own_painter);
    });
}

void EventItem::draw_circle_and_tag(QPainter &painter) const
{
    const QSizeF size = m_shape.boundingRect().size();
    if (KeptPicture::can_replace(painter) && size.width() * size.height() < most_kept_pixels)
        draw_kept_shape(painter);
    else
        draw_shape(painter);
}

void EventItem::draw_kept_shape(QPainter &painter) const
{
    const PixelPosition origin(painter.transform().map(QPointF()));
    KeptPicture &shape = m_drawn->shape;
    if (!shape.suits(origin.subpixel)) {
        m_drawn->forget_shape();
        const QRectF area = m_shape.boundingRect();
        PictureMemory memory(area.toAlignedRect().size());
        if (memory.is_held()) {
            shape = KeptPicture::around(area, origin.subpixel,
                                        [this](QPainter &own_painter) { draw_shape(own_painter); });
            m_drawn->shape_memory = std::move(memory);
        }
    }
    if (shape.is_null())
        draw_shape(painter);
    else
        shape.show(painter, origin.pixel);
}

void EventItem::draw_shape(QPainter &painter) const
{
    painter.setPen(outline_pen());
    painter.setBrush(m_colour);
    painter.drawPath(m_shape);
    draw_cross(painter);
}

void EventItem::draw_cross(QPainter &painter) const
{
    painter.setPen(outline_pen());
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(m_cross);
}

void EventItem::draw_text(QPainter &painter) const
{
    m_drawn->text->draw(painter, m_text_corner, m_values, m_drawn->lines);
}

QRegion EventItem::inside_circle(const QRect &area) const
{
    const QPointF r = m_drawn->radius;
    if (std::min(r.x(), r.y()) < least_filled_radius || m_rendered_rotation != 0 || m_rendered_scale != 1)
        return {};
    const QPointF centre = m_rendered_position;
    const double margin = edge_margin + std::max(r.x(), r.y()) * edge_error;
    const int bottom = area.top() + area.height();
    QRegion inside;
    for (int top = area.top(); top < bottom; top += band_height) {
        const double above = centre.y() - top;
        const double below = top + band_height - centre.y();
        const double height = (std::max(above, below) + margin) / r.y();
        if (height >= 1)
            continue;
        const double half_width = r.x() * std::sqrt(1 - height * height) - margin;
        if (half_width < 1)
            continue;
        const int left = static_cast<int>(std::ceil(centre.x() - half_width));
        const int right = static_cast<int>(std::floor(centre.x() + half_width));
        inside += QRect(left, top, right - left, band_height);
    }
    return inside;
}

QRegion EventItem::around_cross(const QRect &area) const
{
    const QPoint centre = PixelPosition(m_rendered_position).pixel;
    const int width = 2 * cross_margin + 1;
    return QRegion(centre.x() - cross_margin, area.y(), width, area.height())
        + QRegion(area.x(), centre.y() - cross_margin, area.width(), width);
}

Pen::~Pen()
{
    update_end();
}

Touch::~Touch()
{
    update_end();
}

Erase::~Erase()
{
    update_end();
}
