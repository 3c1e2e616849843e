#pragma once

#include "korvane.h"

#include <QRegion>
#include <QWidget>

#include <map>
#include <memory>
#include <mutex>
#include <vector>

class Item;
class QMouseEvent;
class QTouchEvent;

/// Shows items in their z-order, gives each contact to the frontmost item under it until the contact lifts,
/// and collects the areas that have to be painted again. What no item takes leaves through the signals.
///
/// Its z-order shares its items with the contacts captured for them and with the pens that hover over them.
/// GUI thread only, but for add_dirty_region. Records arrive with pos and view_pos in pixels of the view; an
/// item gets pos in its own coordinates. Whoever receives a record must not run an event loop before it
/// returns.
class ItemView : public QWidget
{
    Q_OBJECT

public:
    /// A widget without a parent; non-zero @p transparent gives it no background.
    explicit ItemView(int transparent);
    /// Leaves its items without an owner.
    ~ItemView() override;

    /// Adds @p item, which is not null, in front of all others and links it to this view. A view that has it
    /// already, be it this one, marks its area and gives it up; what it had to do it does for this view.
    void add_item(std::shared_ptr<Item> item);
    /// Removes an item and marks its area; contacts that it has captured keep it until they lift, a pen that
    /// hovers over it until it hovers elsewhere. Nothing when it is not here.
    void sub_item(Item *item);
    /// Removes all items and marks the whole view.
    void sub_all();

    /// The frontmost item with this id, or none.
    std::shared_ptr<Item> find_item(int id) const;
    /// The item as the view shares it; none when it is not here.
    std::shared_ptr<Item> find_item(const Item *item) const;
    /// Back to front. Not to be kept across a change of the z-order.
    const std::vector<std::shared_ptr<Item>> &items() const { return m_z_order; }

    // Nothing when the item is not here; nothing is marked for painting.
    void to_front(const Item *item);
    void to_back(const Item *item);

    /// @p area, in pixels of the view, is painted again at the next tick. May be called on any thread.
    void add_dirty_region(const QRect &area);
    /// Takes the collected area, which is empty afterwards. Takes no lock: only between renders.
    QRegion get_dirty_region();

    /// The frontmost item under the record that takes contacts, or none.
    virtual std::shared_ptr<Item> hit_item(const Korvane::Controls &event);

public slots:
    /// Gives one record to the item that has captured the pen, or passes it on.
    virtual void in_pen_event(const Korvane::Controls &event);
    /// The records of one report.
    virtual void in_touch_event(const std::vector<Korvane::Controls> &event);
    virtual void in_erase_event(const std::vector<Korvane::Controls> &event);

signals:
    // What no item took, in pixels of the view. To be connected directly: the records are the view's own.
    void out_pen_event(const Korvane::Controls &event);
    void out_touch_event(const std::vector<Korvane::Controls> &event);
    void out_erase_event(const std::vector<Korvane::Controls> &event);

protected:
    /// Makes contact records of Qt's own mouse and touch events.
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    using Captures = std::map<int, std::shared_ptr<Item>>;            ///< by contact id; null: over no item
    using Batches = std::map<Item *, std::vector<Korvane::Controls>>; ///< null: over no item
    using ItemOperation = void (Item::*)(const std::vector<Korvane::Controls> &);
    using OutSignal = void (ItemView::*)(const std::vector<Korvane::Controls> &);

    void disown_all();
    std::shared_ptr<Item> captured_item(Captures &captures, const Korvane::Controls &event);
    /// Tells the item that a hovering pen has come upon, and then the one that it has left. Both get @p copy,
    /// the record as it was delivered, in the coordinates of the item entered if there is one.
    void hover(const Korvane::Controls &event, Korvane::Controls &copy);
    void route(const std::vector<Korvane::Controls> &event, Captures &captures, Batches &batches,
               ItemOperation deliver, OutSignal pass_on);
    bool mouse_event(QMouseEvent *event);
    void touch_points_event(const QTouchEvent &event);

    bool m_transparent;
    QRegion m_dirty_region;
    std::mutex m_dirty_lock; ///< guards the dirty region against the render threads
    Captures m_pen_captures;
    Captures m_pen_hover; ///< the item last under a hovering pen
    Captures m_touch_captures;
    Captures m_erase_captures;
    Batches m_touch_batches; ///< filled and emptied within one call
    Batches m_erase_batches;
    std::vector<std::shared_ptr<Item>> m_z_order; ///< back to front
};
