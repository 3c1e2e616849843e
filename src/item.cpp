#include "item.h"

#include "itemview.h"

#include <QPainter>

#include <cmath>

namespace {

constexpr double margin = 1;      // pixels around the outline on the top and left
constexpr float growth = 3.0F;    // Deliberate: so much more, and the margin again, in width and height
constexpr double area_margin = 1; // pixels around the picture that are repainted with it

QPointF rounded_down(QPointF point)
{
    return {std::floor(point.x()), std::floor(point.y())};
}

} // namespace

Item::Item(QPointF position, float rotation, float scale, int id)
    : m_position(position), m_rotation(rotation), m_scale(scale), m_id(id)
{
    set_transforms();
}

Item::~Item()
{
    update_end();
}

void Item::pen_event(const Korvane::Controls &) { }

void Item::touch_event(const std::vector<Korvane::Controls> &) { }

void Item::erase_event(const std::vector<Korvane::Controls> &) { }

void Item::rebuild() { }

void Item::redraw(QPainter &) { }

void Item::rebuffer()
{
    const auto scale = double(m_rendered_scale);
    const QTransform turned = QTransform().rotate(double(m_rendered_rotation)).scale(scale, scale);
    const QRectF bounds = turned.map(m_outline).boundingRect();
    m_image_rectangle = {bounds.x() - margin, bounds.y() - margin, bounds.width() + double(growth) + margin,
                         bounds.height() + double(growth) + margin};
    m_cache_offset = rounded_down(m_image_rectangle.topLeft());

    if (m_image_cache && m_image_rectangle.width() <= m_image_cache->width()
        && m_image_rectangle.height() <= m_image_cache->height())
        return;
    // Too small by a fraction of a pixel only: the same memory will do.
    const QSize size(static_cast<int>(m_image_rectangle.width()),
                     static_cast<int>(m_image_rectangle.height()));
    if (!m_image_cache || m_image_cache->size() != size) {
        m_image_cache.reset(); // before the new one, so that there are never both
        m_image_cache = new_cache(size);
    }
    m_without_cache = !m_image_cache;
    if (m_image_cache)
        m_image_cache->fill(Qt::transparent);
}

std::unique_ptr<QImage> Item::new_cache(const QSize &size)
{
    auto cache = std::make_unique<QImage>(size, QImage::Format_ARGB32_Premultiplied);
    return cache->isNull() ? nullptr : std::move(cache);
}

void Item::paint_without_cache(QPainter &) const { }

void Item::set_transforms()
{
    m_to_view = QTransform::fromTranslate(m_position.x(), m_position.y())
                    .rotate(double(m_rotation))
                    .scale(double(m_scale), double(m_scale));
    m_from_view = m_to_view.inverted();
}

QPointF Item::map_to(QPointF view_point) const
{
    return m_from_view.map(view_point);
}

QPointF Item::map_from(QPointF item_point) const
{
    return m_to_view.map(item_point);
}

void Item::set_outline(const QPainterPath &outline)
{
    m_outline = outline;
    m_outline_bounds = outline.boundingRect();
}

bool Item::hit(QPointF item_point) const
{
    return m_outline_bounds.contains(item_point) && m_outline.contains(item_point);
}

void Item::paint(QPainter &painter) const
{
    if (m_image_cache) {
        const QRect area = picture_area();
        painter.drawImage(area.x(), area.y(), *m_image_cache, 0, 0, area.width(), area.height());
    } else if (m_without_cache) {
        paint_without_cache(painter);
    }
}

void Item::redraw()
{
    if (!m_image_cache)
        return;
    m_image_cache->fill(0);
    QPainter painter(m_image_cache.get());
    enter_item(painter);
    redraw(painter);
}

void Item::update_begin()
{
    update_end(); // two renders must not share a cache
    if (m_update_flags == refresh_area)
        update_impl();
    else // Deliberate: also with nothing to do, so that every tick is alike
        m_pending_render = std::async([this] { update_impl(); });
}

void Item::update_end()
{
    if (m_pending_render.valid())
        m_pending_render.wait();
}

void Item::update_impl()
{
    if (!m_owner)
        return;
    m_rendered_position = m_position;
    m_rendered_rotation = m_rotation;
    m_rendered_scale = m_scale;
    if (m_update_flags & rebuild_geometry)
        rebuild();
    if (m_update_flags & resize_cache)
        rebuffer();
    if (m_update_flags & redraw_picture)
        redraw();
    if (m_update_flags & refresh_area)
        report_screen_area();
    m_update_flags = 0;
}

void Item::clear_image_cache()
{
    m_image_cache.reset();
    m_without_cache = false;
}

void Item::to_front() const
{
    if (m_owner)
        m_owner->to_front(this);
}

void Item::to_back() const
{
    if (m_owner)
        m_owner->to_back(this);
}

void Item::lock(int)
{
    ++m_lock_count;
}

void Item::unlock(int)
{
    --m_lock_count;
}

QRect Item::picture_area() const
{
    const QPointF corner = rounded_down(m_rendered_position) + m_cache_offset;
    return {static_cast<int>(corner.x()), static_cast<int>(corner.y()),
            static_cast<int>(m_image_rectangle.width()), static_cast<int>(m_image_rectangle.height())};
}

void Item::enter_item(QPainter &painter) const
{
    const QPointF fraction = m_rendered_position - rounded_down(m_rendered_position);
    painter.translate(fraction - m_cache_offset);
    painter.rotate(double(m_rendered_rotation));
    painter.scale(double(m_rendered_scale), double(m_rendered_scale));
    painter.setRenderHint(QPainter::Antialiasing);
}

void Item::report_screen_area()
{
    const QRectF area = m_image_rectangle.translated(m_rendered_position)
                            .adjusted(-area_margin, -area_margin, area_margin, area_margin);
    const QRect covered(static_cast<int>(area.x()), static_cast<int>(area.y()),
                        static_cast<int>(area.width()), static_cast<int>(area.height()));
    m_owner->add_dirty_region(m_screen_area);
    m_owner->add_dirty_region(covered);
    m_screen_area = covered;
}
