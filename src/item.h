#pragma once

#include "geometry.h"
#include "korvane.h"

#include <QColor>
#include <QImage>
#include <QObject>
#include <QPainterPath>
#include <QPointF>
#include <QRect>
#include <QString>
#include <QTransform>

#include <array>
#include <future>
#include <memory>
#include <vector>

class ItemView;
class QPainter;

/// Something that an ItemView shows: a shape with a position, a rotation and a scale, an outline for hit
/// testing and a picture of itself that it keeps in a cache.
///
/// Shared by the view's z-order and by the contacts that it has captured. All operations belong to the GUI
/// thread, except that every tick renders each item on a thread of its own. While that render is in flight,
/// from update_begin to update_end, nothing else may touch the cache, the outline or the update flags. Item
/// coordinates are pixels before rotation and scale, with (0, 0) at the position; view coordinates are pixels
/// of the view.
class Item : public QObject
{
    Q_OBJECT

public:
    /// What the next render has to do.
    enum UpdateFlag {
        refresh_area = 1,     ///< tell the view which area the item covers
        redraw_picture = 2,   ///< draw the picture into the cache
        resize_cache = 4,     ///< make the cache fit the outline
        rebuild_geometry = 8, ///< make the outline
        update_all = 15
    };

    /// @p rotation in degrees, clockwise on the screen; @p id is what ItemView::find_item looks for.
    Item(QPointF position, float rotation, float scale, int id);
    /// Waits for a render in flight; so must the destructor of every subclass, before its own members go.
    ~Item() override;

    // Contacts, with pos in item coordinates and view_pos in view coordinates; the base takes no notice. An
    // item that was removed still gets those that it has captured. The item that a hovering pen has left gets
    // pos in the coordinates of the item that it has entered.
    virtual void pen_event(const Korvane::Controls &event);
    virtual void touch_event(const std::vector<Korvane::Controls> &event);
    virtual void erase_event(const std::vector<Korvane::Controls> &event);
    /// Makes the geometry again and hands the outline to set_outline. Called on the render thread.
    virtual void rebuild();
    /// Draws the item in item coordinates. Called on the render thread.
    virtual void redraw(QPainter &painter);
    /// Makes the cache large enough for the outline; caches only grow. If there is no memory for it, the
    /// item has none. Called on the render thread.
    virtual void rebuffer();
    /// A cache of @p size, or null if the item has to do without one. Called on the render thread.
    virtual std::unique_ptr<QImage> new_cache(const QSize &size);
    /// Draws what the last render has found no cache for, in view coordinates; the base draws nothing. Called
    /// on the GUI thread.
    virtual void paint_without_cache(QPainter &painter) const;

    /// To be called after a change of position, rotation or scale.
    void set_transforms();
    QPointF map_to(QPointF view_point) const;   ///< to item coordinates
    QPointF map_from(QPointF item_point) const; ///< to view coordinates
    /// In item coordinates. The cache follows with the next render that resizes it.
    void set_outline(const QPainterPath &outline);
    /// Whether @p item_point lies inside the outline.
    bool hit(QPointF item_point) const;

    /// Draws the cached picture where it was last rendered, in view coordinates. Without a cache it is up to
    /// paint_without_cache, but nothing is drawn before the first render or after clear_image_cache.
    void paint(QPainter &painter) const;
    /// Clears the cache and draws the item into it; nothing without a cache. Called on the render thread.
    void redraw();
    /// Starts the render of a tick, on a thread of its own unless only the area is to be told.
    void update_begin();
    /// Waits for the render that update_begin has started, or runs it if no thread could be started. What a
    /// render throws is dropped.
    void update_end();
    /// The render itself. An item without an owner does nothing and keeps its update flags. Called on the
    /// render thread.
    void update_impl();
    /// Nothing is drawn until a render has resized the cache and redrawn the picture.
    void clear_image_cache();

    void to_front() const; ///< in the owner's z-order; nothing without an owner
    void to_back() const;

    void lock(int); ///< adds one to the lock count, which is for subclasses: nothing here is locked
    void unlock(int);

protected:
    /// Where the last render has put the picture, in view coordinates.
    QRect picture_area() const;
    /// Makes @p painter, which is that of the picture, draw in item coordinates.
    void enter_item(QPainter &painter) const;

private:
    void report_screen_area();

    // The order of the members is part of the interface, so that access changes with the members' users:
    // protected ones are for subclasses, public ones for the view and for those who look items up.
    std::future<void> m_pending_render; ///< of the last update_begin

protected:
    QPointF m_position; ///< view coordinates of the item's origin
    float m_rotation;   ///< degrees
    float m_scale;
    float m_factor = 1.0F; ///< for subclasses

public:
    int m_id; ///< what ItemView::find_item looks for; no contact's id

protected:
    std::unique_ptr<QImage> m_image_cache; ///< premultiplied ARGB; null until the first render
    QPointF m_cache_offset;      ///< whole pixels: where the cache lies, from the position rounded down
    QRectF m_image_rectangle;    ///< where the picture lies, from the position; pixels
    QPointF m_rendered_position; ///< position, rotation and scale when the last render started
    float m_rendered_rotation = 0;
    float m_rendered_scale = 1;
    QPainterPath m_outline; ///< item coordinates
    QRectF m_outline_bounds;
    QTransform m_to_view;
    QTransform m_from_view;
    QRect m_screen_area; ///< view coordinates of what the last render covered

public:
    ItemView *m_owner = nullptr;     ///< the view that shows the item, set and cleared by the view
    int m_update_flags = update_all; ///< of UpdateFlag
    bool m_hit_testable = true;      ///< ItemView::hit_item skips the item if false

protected:
    int m_lock_count = 0;

private:
    bool m_without_cache = false; ///< the last render has found none
};

/// Shows one contact: a circle of its size, a cross through its centre, and beside it an info tag with six
/// lines about its last record. Takes no contacts itself.
class EventItem : public Item
{
    Q_OBJECT

public:
    /// @p position in view coordinates; @p colour fills the circle and the tag.
    EventItem(QPointF position, QColor colour);
    ~EventItem() override;

    /// Moves to the contact and shows this record of it from the next tick on; radii in pixels.
    void refresh(const Korvane::Controls &event);

    void rebuild() override;
    using Item::redraw;
    void redraw(QPainter &painter) override;
    /// Null for a large cache, and if the contacts' caches already take all memory that they may.
    std::unique_ptr<QImage> new_cache(const QSize &size) override;
    /// Draws only what is seen, with the same pixels as a cache.
    void paint_without_cache(QPainter &painter) const override;

private:
    struct Drawn;

    void draw_circle_and_tag(QPainter &painter) const;
    /// Draws circle, tag and cross from the picture that was last made of them, as long as it is the same.
    void draw_kept_shape(QPainter &painter) const;
    void draw_shape(QPainter &painter) const;
    void draw_cross(QPainter &painter) const;
    void draw_text(QPainter &painter) const;
    /// Pixels of the view in and around @p area that the circle fills and its edge does not touch; not all of
    /// them, and none of a small circle.
    QRegion inside_circle(const QRect &area) const;
    /// Pixels of @p area that the cross may touch if it is not turned.
    QRegion around_cross(const QRect &area) const;

    QPainterPath m_shape; ///< circle and tag
    QPainterPath m_cross;
    QPointF m_text_corner;           ///< the tag's, item coordinates
    std::array<QString, 6> m_values; ///< of the tag's lines, behind their labels
    int m_contact_id = 0;
    int m_buttons = 0;
    QPointF m_radius; ///< pixels
    QColor m_colour;
    std::unique_ptr<Drawn> m_drawn; ///< used by the render, and by painting between renders
};

/// Shows a pen.
class Pen : public EventItem
{
    Q_OBJECT

public:
    using EventItem::EventItem;
    ~Pen() override;
};

/// Shows a finger.
class Touch : public EventItem
{
    Q_OBJECT

public:
    using EventItem::EventItem;
    ~Touch() override;
};

/// Shows a palm or an eraser.
class Erase : public EventItem
{
    Q_OBJECT

public:
    using EventItem::EventItem;
    ~Erase() override;
};
