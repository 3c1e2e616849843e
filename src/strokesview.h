#pragma once

#include "itemview.h"
#include "testpatterns.h" // for those who draw a target: it used to be declared here

#include <QColor>
#include <QImage>
#include <QLineF>
#include <QPointF>

#include <map>
#include <memory>
#include <vector>

class EventItem;
class StrokesLayer;

/// The full-screen drawing area: a test pattern, over it the strokes that contacts have left, over these an
/// info tag for each contact in progress. GUI thread only; all coordinates are pixels of the widget.
///
/// Pattern and strokes are kept as images as large as the largest size that the widget has had, so that a
/// paint event only copies them. Before the first resize there are none: strokes are recorded, nothing is
/// painted.
class StrokesView : public ItemView
{
    Q_OBJECT

public:
    /// One straight piece of a stroke.
    struct segment
    {
        QLineF line;     ///< pixels of the widget
        float width = 0; ///< half of the line's width, pixels; the radius of a dot
    };

    /// What one contact has drawn from its first to its last record.
    struct stroke
    {
        std::vector<segment> segments; ///< in the order drawn
        QColor colour;                 ///< Qt::white: an eraser's, which clears
    };

    /// Where one contact is with its drawing.
    struct draw_state
    {
        int state = 0;                 ///< 0 idle, 1 drawing
        QPointF last;                  ///< where the next segment starts
        std::vector<segment> segments; ///< of the stroke in progress
        QColor colour;
    };

    StrokesView();
    ~StrokesView() override;

    /// Advances the stroke of the record's contact and paints the new piece. A contact without a size draws
    /// with the stroke width of the digit keys.
    void draw_stroke(const Korvane::Controls &event, const QColor &colour);
    /// Paints all finished strokes again; the caller marks what is to be repainted.
    void redraw_strokes();
    /// Forgets all finished strokes. A stroke in progress keeps its segments and shows them again once
    /// finished and repainted.
    void clear_strokes();
    /// Counts the finished strokes and their segments. The mean is rounded down. Without
    /// strokes: 0, 0, 1000000, -1, 0.
    void statistics(int &strokes, int &segments, int &min_segments, int &max_segments,
                    int &mean_segments) const;

    // Each shows its test pattern in place of any other, or plain white if it is shown already.
    void toggle_grid();
    void toggle_colors();
    void toggle_shapes();
    void toggle_black();
    void toggle_vcalib();
    void toggle_hcalib();
    void toggle_help();
    /// Draws the current pattern into its image.
    void redraw_test();

    /// The size at which a window that is not maximized appears first, pixels, if that is no more than two
    /// thirds of the screen, which Qt limits it to.
    QSize sizeHint() const override;
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

public slots:
    // For what no item has taken: draw it, and show, move or remove the contact's info tag.
    void my_pen_event(const Korvane::Controls &event);
    void my_touch_event(const std::vector<Korvane::Controls> &event);
    void my_erase_event(const std::vector<Korvane::Controls> &event);

private:
    enum test_mode { no_test, grid, colors, shapes, black, vertical_bars, horizontal_bars, help };

    void toggle(test_mode mode);
    template <typename ContactItem>
    void show_contact(const Korvane::Controls &event, const QColor &stroke_colour, const QColor &item_colour);

    std::vector<stroke> m_strokes;                     ///< finished, oldest first
    std::map<int, std::shared_ptr<EventItem>> m_items; ///< by contact id: the info tags shown
    std::unique_ptr<StrokesLayer> m_strokes_layer;     ///< null if there is no memory for it
    std::map<int, draw_state> m_draw_states;           ///< by contact id; entries stay

public:
    float m_stroke_width = 3.0F; ///< of contacts without a size: half the width, pixels; 0 for thin lines
    bool m_show_tags = true;     ///< whether new contacts get an info tag

private:
    int m_test_mode = help;               ///< of test_mode
    std::unique_ptr<QImage> m_test_image; ///< RGB32
};
