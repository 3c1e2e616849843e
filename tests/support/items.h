#pragma once

#include "itemview.h"

#include "item.h"

#include <QPainter>

#include <gtest/gtest.h>

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

// These print Qt's values in the messages of failed tests.
void PrintTo(const QPointF &point, std::ostream *out);
void PrintTo(const QRectF &rectangle, std::ostream *out);
void PrintTo(const QSize &size, std::ostream *out);
void PrintTo(const QRect &rectangle, std::ostream *out);
void PrintTo(const QRegion &region, std::ostream *out);

/// Names a case of a table after its row.
template <typename Row> std::string row_name(const testing::TestParamInfo<Row> &row)
{
    return row.param.name;
}

/// A record as a view receives it; @p pos in pixels serves as pos and view_pos.
Korvane::Controls contact(int id, int buttons, QPointF pos, QPointF radius = {});

/// What has happened, in order, one line per event.
using Log = std::vector<std::string>;

/// "<id>:<buttons> <pos> <view_pos>", then radius and flags if they are not 0; several are joined by "; ".
std::string text_of(const Korvane::Controls &record);
std::string text_of(const std::vector<Korvane::Controls> &records);

/// A rectangle that logs the records it is given as "<name> pen|touch|erase <records>".
class LoggingItem : public Item
{
public:
    LoggingItem(std::string name, Log &log, QPointF position, const QSizeF &size, float rotation = 0,
                float scale = 1);

    void pen_event(const Korvane::Controls &event) override;
    void touch_event(const std::vector<Korvane::Controls> &event) override;
    void erase_event(const std::vector<Korvane::Controls> &event) override;

private:
    std::string m_name;
    Log &m_log;
};

/// Logs what leaves @p view unclaimed, as LoggingItem does with the name "view".
void log_unclaimed(ItemView &view, Log &log);

/// An item that the test draws, with its internal state exposed.
class DrawnItem : public Item
{
public:
    using Drawing = std::function<void(QPainter &)>;

    DrawnItem(QPointF position, const QRectF &outline, Drawing drawing = {}, float rotation = 0,
              float scale = 1);

    using Item::redraw;
    void redraw(QPainter &painter) override;

    Drawing m_drawing;
    using Item::m_cache_offset;
    using Item::m_factor;
    using Item::m_image_cache;
    using Item::m_image_rectangle;
    using Item::m_lock_count;
    using Item::m_outline_bounds;
    using Item::m_position;
    using Item::m_rendered_position;
    using Item::m_rendered_rotation;
    using Item::m_rendered_scale;
    using Item::m_rotation;
    using Item::m_scale;
    using Item::m_screen_area;
};

/// A square of 50 pixels, filled with @p colour.
std::shared_ptr<DrawnItem> make_square(QPointF position, Qt::GlobalColor colour = Qt::red);

QPainterPath path_of(const QRectF &rectangle);

/// Renders one item as a tick does.
void render(Item &item);
/// Renders all of the view's items in parallel, as a tick does.
void render_all(ItemView &view);
