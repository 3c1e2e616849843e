#include "item.h"

#include "keptpicture.h"
#include "tagtext.h"

#include <QPainter>

#include <utility>

namespace {

constexpr double default_radius = 25; // pixels, for contacts without a size
constexpr double tag_width = 150;     // pixels
constexpr double tag_height = 125;    // pixels

constexpr double most_kept_pixels = 1 << 20; // of a shape: a larger one is drawn again each time

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
    TagText::Lines lines;
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
        m_drawn->shape = {};
    m_drawn->radius = r;
}

void EventItem::redraw(QPainter &painter)
{
    const QSizeF size = m_shape.boundingRect().size();
    if (KeptPicture::can_replace(painter) && size.width() * size.height() < most_kept_pixels)
        draw_kept_shape(painter);
    else
        draw_shape(painter);
    m_drawn->text->draw(painter, m_text_corner, m_values, m_drawn->lines);
}

void EventItem::draw_kept_shape(QPainter &painter)
{
    const PixelPosition origin(painter.transform().map(QPointF()));
    KeptPicture &shape = m_drawn->shape;
    if (!shape.suits(origin.subpixel))
        shape = KeptPicture(m_shape.boundingRect(), origin.subpixel,
                            [this](QPainter &own_painter) { draw_shape(own_painter); });
    if (shape.is_null())
        draw_shape(painter);
    else
        shape.show(painter, origin.pixel);
}

void EventItem::draw_shape(QPainter &painter)
{
    QPen pen(Qt::black, 1, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
    pen.setCosmetic(true);
    painter.setPen(pen);
    painter.setBrush(m_colour);
    painter.drawPath(m_shape);

    painter.setBrush(Qt::NoBrush);
    painter.drawPath(m_cross);
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
