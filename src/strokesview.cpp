#include "strokesview.h"

#include "item.h"
#include "process.h"
#include "roundline.h"
#include "strokeslayer.h"

#include <QBrush>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace {

constexpr int tag_alpha = 32;
constexpr QRgb white = 0xffffff;
constexpr QSize normal_size{960, 540};

bool same(double a, double b)
{
    return std::abs(a - b) <= same_position;
}

bool same_segment(const StrokesView::segment &a, const StrokesView::segment &b)
{
    return same(a.line.x1(), b.line.x1()) && same(a.line.y1(), b.line.y1()) && same(a.line.x2(), b.line.x2())
        && same(a.line.y2(), b.line.y2()) && a.width == b.width;
}

/// Null if there is no memory for the image.
std::unique_ptr<QImage> new_image(int width, int height, QImage::Format format)
{
    auto image = std::make_unique<QImage>(width, height, format);
    return image->isNull() ? nullptr : std::move(image);
}

bool smaller(const QImage *image, int width, int height)
{
    return !image || image->width() < width || image->height() < height;
}

} // namespace

StrokesView::StrokesView() : ItemView(0)
{
    connect(this, &ItemView::out_pen_event, this, &StrokesView::my_pen_event);
    connect(this, &ItemView::out_touch_event, this, &StrokesView::my_touch_event);
    connect(this, &ItemView::out_erase_event, this, &StrokesView::my_erase_event);
}

StrokesView::~StrokesView() = default;

void StrokesView::my_pen_event(const Korvane::Controls &event)
{
    show_contact<Pen>(event, Qt::red, QColor(255, 0, 0, tag_alpha));
}

void StrokesView::my_touch_event(const std::vector<Korvane::Controls> &event)
{
    for (const Korvane::Controls &record : event)
        show_contact<Touch>(record, Qt::green, QColor(0, 255, 0, tag_alpha));
}

void StrokesView::my_erase_event(const std::vector<Korvane::Controls> &event)
{
    for (const Korvane::Controls &record : event)
        show_contact<Erase>(record, Qt::white, QColor(0, 0, 255, tag_alpha));
}

template <typename ContactItem>
void StrokesView::show_contact(const Korvane::Controls &event, const QColor &stroke_colour,
                               const QColor &item_colour)
{
    const auto shown = m_items.find(event.id);
    if (shown != m_items.end()) {
        const std::shared_ptr<EventItem> item = shown->second;
        if (event.buttons == 0) {
            m_items.erase(shown);
            sub_item(item.get());
        } else {
            item->refresh(event);
        }
    } else if (m_show_tags && event.buttons != 0) {
        const auto item = std::make_shared<ContactItem>(event.pos, item_colour);
        item->refresh(event);
        add_item(item);
        m_items[event.id] = item;
    }
    draw_stroke(event, stroke_colour);
}

void StrokesView::draw_stroke(const Korvane::Controls &event, const QColor &colour)
{
    draw_state &drawing = m_draw_states[event.id];
    if (drawing.state == 0) {
        if (event.buttons == 0)
            return;
        drawing.state = 1;
        drawing.last = event.pos;
        drawing.segments.clear();
        drawing.colour = colour;
    }

    const auto size = static_cast<float>(std::max(event.radius.x(), event.radius.y()));
    const segment piece{QLineF(drawing.last, event.pos), size == 0 ? m_stroke_width : size};
    if (drawing.segments.empty() || !same_segment(drawing.segments.back(), piece)) {
        drawing.segments.push_back(piece);
        if (m_strokes_layer)
            m_strokes_layer->paint(piece.line, piece.width, drawing.colour,
                                   QPainter::CompositionMode_SourceOver);
        add_dirty_region(covered_pixels(piece.line, piece.width));
    }

    if (event.buttons != 0) {
        drawing.last = event.pos;
        return;
    }
    drawing.state = 0;
    drawing.segments.shrink_to_fit(); // it will not grow any more
    m_strokes.push_back({std::move(drawing.segments), drawing.colour});
    drawing.segments.clear();
}

void StrokesView::redraw_strokes()
{
    if (!m_strokes_layer)
        return;
    m_strokes_layer->clear();
    QPainter::CompositionMode mode = QPainter::CompositionMode_SourceOver;
    for (const stroke &finished : m_strokes) {
        for (const segment &piece : finished.segments) {
            m_strokes_layer->paint(piece.line, piece.width, finished.colour, mode);
            // Deliberate: only the very first segment of a rebuild is composed over what lies below.
            mode = QPainter::CompositionMode_Source;
        }
    }
}

void StrokesView::clear_strokes()
{
    std::vector<stroke>().swap(m_strokes);
    process::give_memory_back(); // a long session may have stored many strokes
    redraw_strokes();
    add_dirty_region({0, 0, width(), height()});
}

void StrokesView::statistics(int &strokes, int &segments, int &min_segments, int &max_segments,
                             int &mean_segments) const
{
    strokes = static_cast<int>(m_strokes.size());
    segments = 0;
    min_segments = 1000000;
    max_segments = -1;
    for (const stroke &finished : m_strokes) {
        const auto count = static_cast<int>(finished.segments.size());
        min_segments = std::min(min_segments, count);
        max_segments = std::max(max_segments, count);
        segments += count;
    }
    mean_segments = strokes != 0 ? segments / strokes : 0;
}

void StrokesView::toggle(test_mode mode)
{
    m_test_mode = m_test_mode == mode ? no_test : mode;
    redraw_test();
    update();
}

void StrokesView::toggle_grid()
{
    toggle(grid);
}

void StrokesView::toggle_colors()
{
    toggle(colors);
}

void StrokesView::toggle_shapes()
{
    toggle(shapes);
}

void StrokesView::toggle_black()
{
    toggle(black);
}

void StrokesView::toggle_vcalib()
{
    toggle(vertical_bars);
}

void StrokesView::toggle_hcalib()
{
    toggle(horizontal_bars);
}

void StrokesView::toggle_help()
{
    toggle(help);
}

void StrokesView::redraw_test()
{
    static const std::array<QBrush, 4> brushes{
        QBrush(Qt::red, Qt::SolidPattern), QBrush(Qt::green, Qt::SolidPattern),
        QBrush(Qt::blue, Qt::SolidPattern), QBrush(Qt::white, Qt::SolidPattern)};
    if (!m_test_image)
        return;
    m_test_image->fill(white);
    if (m_test_mode == no_test)
        return;
    QPainter painter(m_test_image.get());
    // Deliberate: the grid and the colour field fill the whole image, which may be larger than the widget;
    // the other patterns fit the widget.
    switch (m_test_mode) {
    case grid:
        draw_grid(painter, m_test_image->size());
        break;
    case colors:
        draw_colour_field(painter, m_test_image->size(), brushes);
        break;
    case shapes:
        draw_targets(painter, size());
        break;
    case black:
        draw_black(painter, size());
        break;
    case vertical_bars:
        draw_vertical_bars(painter, size());
        break;
    case horizontal_bars:
        draw_horizontal_bars(painter, size());
        break;
    case help:
        draw_help(painter);
        break;
    }
}

QSize StrokesView::sizeHint() const
{
    return normal_size;
}

void StrokesView::resizeEvent(QResizeEvent *)
{
    // Deliberate: shared by all views, and never smaller again, so that images are seldom allocated.
    static int max_width = 0;
    static int max_height = 0;
    max_width = std::max(max_width, width());
    max_height = std::max(max_height, height());

    if (smaller(m_strokes_layer ? &m_strokes_layer->image() : nullptr, max_width, max_height)) {
        auto image = new_image(max_width, max_height, QImage::Format_ARGB32_Premultiplied);
        m_strokes_layer = image ? std::make_unique<StrokesLayer>(std::move(image)) : nullptr;
        redraw_strokes();
    }
    if (smaller(m_test_image.get(), max_width, max_height))
        m_test_image = new_image(max_width, max_height, QImage::Format_RGB32);
    redraw_test();
}

void StrokesView::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    if (m_test_image)
        painter.drawImage(0, 0, *m_test_image);
    if (m_strokes_layer)
        painter.drawImage(0, 0, m_strokes_layer->image());
    // The items are painted by a second painter, while this one is still open.
    ItemView::paintEvent(event);
}
