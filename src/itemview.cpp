#include "itemview.h"

#include "item.h"
#include "seenpicture.h"

#include <QMouseEvent>
#include <QPainter>
#include <QTouchEvent>
#include <QVector2D>

#include <algorithm>
#include <utility>

namespace {

constexpr float tether = 3.0F;   // pixels that a finger may move before its hoop follows
constexpr int mouse_id = -1;     // Deliberate: as pen 0
constexpr int mouse_buttons = 3; // left and right

/// The first of @p items, from the front of the z-order to its back, that fulfils @p wanted.
template <typename Predicate>
std::shared_ptr<Item> frontmost(const std::vector<std::shared_ptr<Item>> &items, Predicate wanted)
{
    const auto found = std::find_if(items.rbegin(), items.rend(), wanted);
    return found != items.rend() ? *found : nullptr;
}

/// The place of @p item in the z-order.
auto place_of(std::vector<std::shared_ptr<Item>> &items, const Item *item)
{
    return std::find_if(items.begin(), items.end(),
                        [item](const auto &candidate) { return candidate.get() == item; });
}

/// Drags @p hoop behind a finger at @p pos.
void drag(Korvane::Hoop &hoop, QPointF pos, bool down)
{
    if (hoop.down) {
        const QVector2D way(pos - hoop.pos);
        const float length = way.length();
        if (length > tether)
            hoop.pos += (way * (length - tether) / length).toPointF();
    } else {
        hoop.pos = pos;
    }
    hoop.down = down;
}

} // namespace

ItemView::ItemView(int transparent) : m_transparent(transparent != 0)
{
    setAttribute(Qt::WA_MouseTracking);
    setAutoFillBackground(!m_transparent);
    setStyleSheet(m_transparent ? QStringLiteral("background-color: transparent;")
                                : QStringLiteral("background-color: white;"));
    setAttribute(Qt::WA_TranslucentBackground, m_transparent);
}

ItemView::~ItemView()
{
    disown_all();
}

void ItemView::disown_all()
{
    for (const auto &item : m_z_order) {
        item->update_end(); // a render in flight reports to its owner
        item->m_owner = nullptr;
    }
}

void ItemView::add_item(std::shared_ptr<Item> item)
{
    if (item->m_owner) {
        item->update_end();
        const int to_do = std::exchange(item->m_update_flags, Item::refresh_area);
        item->m_owner->sub_item(item.get()); // tells the area to the view that has shown it
        item->m_update_flags = to_do | Item::refresh_area;
    }
    item->m_owner = this;
    m_z_order.push_back(std::move(item));
}

void ItemView::sub_item(Item *item)
{
    const auto found = place_of(m_z_order, item);
    if (found == m_z_order.end())
        return;
    item->update_end();
    item->m_update_flags |= Item::refresh_area;
    item->update_begin();
    item->update_end();
    item->m_owner = nullptr;
    m_z_order.erase(found);
}

void ItemView::sub_all()
{
    disown_all();
    add_dirty_region({0, 0, width(), height()});
    m_z_order.clear();
}

std::shared_ptr<Item> ItemView::find_item(int id) const
{
    return frontmost(m_z_order, [id](const auto &item) { return item->m_id == id; });
}

std::shared_ptr<Item> ItemView::find_item(const Item *item) const
{
    return frontmost(m_z_order, [item](const auto &candidate) { return candidate.get() == item; });
}

void ItemView::to_front(const Item *item)
{
    const auto found = place_of(m_z_order, item);
    if (found != m_z_order.end())
        std::rotate(found, found + 1, m_z_order.end());
}

void ItemView::to_back(const Item *item)
{
    const auto found = place_of(m_z_order, item);
    if (found != m_z_order.end())
        std::rotate(m_z_order.begin(), found, found + 1);
}

void ItemView::add_dirty_region(const QRect &area)
{
    const std::lock_guard lock(m_dirty_lock);
    m_dirty_region += area;
}

QRegion ItemView::get_dirty_region()
{
    // Deliberate: no lock. The tick has joined every render before it takes the region.
    QRegion taken;
    taken.swap(m_dirty_region);
    return taken;
}

std::shared_ptr<Item> ItemView::hit_item(const Korvane::Controls &event)
{
    return frontmost(m_z_order, [&event](const auto &item) {
        return item->m_hit_testable && item->hit(item->map_to(event.pos));
    });
}

std::shared_ptr<Item> ItemView::captured_item(Captures &captures, const Korvane::Controls &event)
{
    std::shared_ptr<Item> &item = captures[event.id];
    if (!item)
        item = hit_item(event);
    return item;
}

void ItemView::in_pen_event(const Korvane::Controls &event)
{
    Korvane::Controls copy = event;
    const std::shared_ptr<Item> target = captured_item(m_pen_captures, event);
    if (target) {
        copy.pos = target->map_to(event.pos);
        target->pen_event(copy);
    } else {
        emit out_pen_event(event);
    }
    if (event.buttons == 0) {
        m_pen_captures.erase(event.id);
        hover(event, copy);
    }
}

void ItemView::hover(const Korvane::Controls &event, Korvane::Controls &copy)
{
    const std::shared_ptr<Item> entered = hit_item(event);
    const std::shared_ptr<Item> left = std::exchange(m_pen_hover[event.id], entered);
    if (entered == left)
        return;
    if (entered) {
        copy.pos = entered->map_to(event.pos);
        entered->pen_event(copy);
    }
    if (left)
        left->pen_event(copy);
}

void ItemView::in_touch_event(const std::vector<Korvane::Controls> &event)
{
    route(event, m_touch_captures, m_touch_batches, &Item::touch_event, &ItemView::out_touch_event);
}

void ItemView::in_erase_event(const std::vector<Korvane::Controls> &event)
{
    route(event, m_erase_captures, m_erase_batches, &Item::erase_event, &ItemView::out_erase_event);
}

void ItemView::route(const std::vector<Korvane::Controls> &event, Captures &captures, Batches &batches,
                     ItemOperation deliver, OutSignal pass_on)
{
    for (const Korvane::Controls &record : event) {
        const std::shared_ptr<Item> target = captured_item(captures, record);
        std::vector<Korvane::Controls> &batch = batches[target.get()];
        batch.push_back(record);
        if (target)
            batch.back().pos = target->map_to(record.pos);
    }
    for (auto &[item, batch] : batches) {
        if (batch.empty())
            continue;
        if (item)
            (item->*deliver)(batch);
        else
            emit(this->*pass_on)(batch);
        batch.clear();
    }
    for (const Korvane::Controls &record : event) {
        if (record.buttons == 0)
            captures.erase(record.id);
    }
}

bool ItemView::event(QEvent *event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
        return mouse_event(static_cast<QMouseEvent *>(event));
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
        touch_points_event(*static_cast<QTouchEvent *>(event));
        return true;
    default:
        return QWidget::event(event);
    }
}

bool ItemView::mouse_event(QMouseEvent *event)
{
    if (event->source() != Qt::MouseEventNotSynthesized) {
        event->ignore();
        return false;
    }
    Korvane::Controls record;
    record.id = mouse_id;
    record.buttons = static_cast<int>(event->buttons()) & mouse_buttons;
    record.pos = event->localPos().toPoint(); // rounds each coordinate
    record.view_pos = record.pos;
    in_pen_event(record);
    return true;
}

void ItemView::touch_points_event(const QTouchEvent &event)
{
    static std::map<int, Korvane::Hoop> m_id_to_hoop_map;

    std::vector<Korvane::Controls> records;
    for (const QTouchEvent::TouchPoint &point : event.touchPoints()) {
        Korvane::Controls record;
        record.id = point.id();
        record.buttons = point.state() & Qt::TouchPointReleased ? 0 : 1;
        Korvane::Hoop &hoop = m_id_to_hoop_map[record.id];
        drag(hoop, point.pos(), record.buttons != 0);
        record.pos = hoop.pos;
        record.view_pos = hoop.pos;
        records.push_back(record);
    }
    in_touch_event(records);
}

void ItemView::paintEvent(QPaintEvent *event)
{
    QWidget::paintEvent(event);
    QPainter painter(this);
    for (const auto &item : m_z_order)
        item->paint(painter);
    release_seen();
}
