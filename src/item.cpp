#include "item.h"

#include "itemview.h"

#include <QFontMetrics>
#include <QPainter>

#include <cmath>
#include <utility>

namespace {

constexpr double margin = 1;      // pixels around the outline on the top and left
constexpr float growth = 3.0F;    // deliberate: so much more, and the margin again, in width and height
constexpr double area_margin = 1; // pixels around the picture that are repainted with it

constexpr double default_radius = 25; // pixels, for contacts without a size
constexpr double tag_width = 150;     // pixels
constexpr double tag_height = 125;    // pixels
constexpr int text_size = 16;         // pixels

QPointF rounded_down(QPointF point)
{
    return {std::floor(point.x()), std::floor(point.y())};
}

QString eight_bits(int value)
{
    return QString::number(value + 256, 2).right(8);
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
    m_image_cache = std::make_unique<QImage>(static_cast<int>(m_image_rectangle.width()),
                                             static_cast<int>(m_image_rectangle.height()),
                                             QImage::Format_ARGB32_Premultiplied);
    if (m_image_cache->isNull())
        m_image_cache.reset();
    else
        m_image_cache->fill(Qt::transparent);
}

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
    if (!m_image_cache)
        return;
    const QPointF target = rounded_down(m_rendered_position) + m_cache_offset;
    painter.drawImage(static_cast<int>(target.x()), static_cast<int>(target.y()), *m_image_cache, 0, 0,
                      static_cast<int>(m_image_rectangle.width()),
                      static_cast<int>(m_image_rectangle.height()));
}

void Item::redraw()
{
    if (!m_image_cache)
        return;
    m_image_cache->fill(0);
    const QPointF fraction = m_rendered_position - rounded_down(m_rendered_position);
    QPainter painter(m_image_cache.get());
    painter.translate(fraction - m_cache_offset);
    painter.rotate(double(m_rendered_rotation));
    painter.scale(double(m_rendered_scale), double(m_rendered_scale));
    painter.setRenderHint(QPainter::Antialiasing);
    redraw(painter);
}

void Item::update_begin()
{
    update_end(); // two renders must not share a cache
    if (m_update_flags == refresh_area)
        update_impl();
    else // deliberate: also with nothing to do, so that every tick is alike
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

void Item::clear_image_cache()
{
    m_image_cache.reset();
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

EventItem::EventItem(QPointF position, QColor colour)
    : Item(position, 0, 1.0F, 0), m_colour(std::move(colour))
{
    m_hit_testable = false;
    m_font.setStyleHint(QFont::Serif, QFont::PreferAntialias);
    m_font.setPixelSize(text_size);
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

    const QString lines[] = {
        QStringLiteral("FID: ") + QString::number(m_contact_id),
        QStringLiteral("X: ") + QString::number(m_position.x()),
        QStringLiteral("Y: ") + QString::number(m_position.y()),
        QStringLiteral("X Radius: ") + QString::number(m_radius.x()),
        QStringLiteral("Y Radius: ") + QString::number(m_radius.y()),
        QStringLiteral("Buttons: ") + eight_bits(m_buttons),
    };
    const int line_height = QFontMetrics(m_font).height();
    m_text = QPainterPath();
    double baseline = tag.top();
    for (const QString &line : lines) {
        baseline += line_height;
        m_text.addText(tag.left(), baseline, m_font, line);
    }

    m_cross = QPainterPath();
    m_cross.moveTo(0, -r.y());
    m_cross.lineTo(0, r.y());
    m_cross.moveTo(-r.x(), 0);
    m_cross.lineTo(r.x(), 0);

    set_outline(m_shape);
}

void EventItem::redraw(QPainter &painter)
{
    QPen pen(Qt::black, 1, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
    pen.setCosmetic(true);
    painter.setPen(pen);
    painter.setBrush(m_colour);
    painter.drawPath(m_shape);

    painter.setBrush(Qt::NoBrush);
    painter.drawPath(m_cross);

    painter.setBrush(Qt::black);
    painter.setPen(Qt::NoPen);
    painter.drawPath(m_text);
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
