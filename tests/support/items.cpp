#include "support/items.h"

#include <sstream>
#include <utility>

namespace {

std::ostream &operator<<(std::ostream &out, QPointF point)
{
    return out << point.x() << ',' << point.y();
}

} // namespace

void PrintTo(const QPointF &point, std::ostream *out)
{
    *out << point;
}

void PrintTo(const QRectF &rectangle, std::ostream *out)
{
    *out << rectangle.width() << 'x' << rectangle.height() << " at " << rectangle.topLeft();
}

void PrintTo(const QSize &size, std::ostream *out)
{
    *out << size.width() << 'x' << size.height();
}

void PrintTo(const QRect &rectangle, std::ostream *out)
{
    PrintTo(QRectF(rectangle), out);
}

void PrintTo(const QRegion &region, std::ostream *out)
{
    for (const QRect &rectangle : region)
        *out << '[' << testing::PrintToString(rectangle) << ']';
}

Korvane::Controls contact(int id, int buttons, QPointF pos, QPointF radius)
{
    Korvane::Controls record;
    record.id = id;
    record.buttons = buttons;
    record.radius = radius;
    record.pos = pos;
    record.view_pos = pos;
    return record;
}

std::string text_of(const Korvane::Controls &record)
{
    std::ostringstream text;
    text << record.id << ':' << record.buttons << ' ' << record.pos << ' ' << record.view_pos;
    if (!record.radius.isNull())
        text << " radius " << record.radius;
    if (record.flags != 0)
        text << " flags " << record.flags;
    return text.str();
}

std::string text_of(const std::vector<Korvane::Controls> &records)
{
    std::string text;
    for (const Korvane::Controls &record : records)
        text += (text.empty() ? "" : "; ") + text_of(record);
    return text;
}

LoggingItem::LoggingItem(std::string name, Log &log, QPointF position, const QSizeF &size, float rotation,
                         float scale)
    : Item(position, rotation, scale, 0), m_name(std::move(name)), m_log(log)
{
    set_outline(path_of({QPointF(), size}));
}

void LoggingItem::pen_event(const Korvane::Controls &event)
{
    m_log.push_back(m_name + " pen " + text_of(event));
}

void LoggingItem::touch_event(const std::vector<Korvane::Controls> &event)
{
    m_log.push_back(m_name + " touch " + text_of(event));
}

void LoggingItem::erase_event(const std::vector<Korvane::Controls> &event)
{
    m_log.push_back(m_name + " erase " + text_of(event));
}

void log_unclaimed(ItemView &view, Log &log)
{
    using Records = std::vector<Korvane::Controls>;
    QObject::connect(&view, &ItemView::out_pen_event,
                     [&log](const Korvane::Controls &event) { log.push_back("view pen " + text_of(event)); });
    QObject::connect(&view, &ItemView::out_touch_event,
                     [&log](const Records &event) { log.push_back("view touch " + text_of(event)); });
    QObject::connect(&view, &ItemView::out_erase_event,
                     [&log](const Records &event) { log.push_back("view erase " + text_of(event)); });
}

DrawnItem::DrawnItem(QPointF position, const QRectF &outline, Drawing drawing, float rotation, float scale)
    : Item(position, rotation, scale, 0), m_drawing(std::move(drawing))
{
    set_outline(path_of(outline));
}

void DrawnItem::redraw(QPainter &painter)
{
    if (m_drawing)
        m_drawing(painter);
}

std::shared_ptr<DrawnItem> make_square(QPointF position, Qt::GlobalColor colour)
{
    return std::make_shared<DrawnItem>(position, QRectF(0, 0, 50, 50), [colour](QPainter &painter) {
        painter.fillRect(0, 0, 50, 50, colour);
    });
}

QPainterPath path_of(const QRectF &rectangle)
{
    QPainterPath path;
    path.addRect(rectangle);
    return path;
}

void render(Item &item)
{
    item.update_begin();
    item.update_end();
}

void render_all(ItemView &view)
{
    for (const auto &item : view.items())
        item->update_begin();
    for (const auto &item : view.items())
        item->update_end();
}
