#pragma once

#include "korvane.h"

#include <QDialog>

#include <map>
#include <memory>
#include <vector>

class ItemView;
class StrokesView;
class QTimer;
class TickPace;

/// The only window: routes each contact to the widget under it, keeps that widget until the contact lifts,
/// and drives rendering and painting with a tick of 8 ms. Owns the input model; the view belongs to the
/// layout. GUI thread only. Positions arrive normalised (1.0 is the screen's width or height) and leave in
/// widget pixels.
class LanternixDialog : public QDialog
{
    Q_OBJECT

public:
    /// The program's version. CMakeLists.txt and the scripts read it from this line: its form has to stay.
    static constexpr const char *version = "0.1.0";

    /// Shows itself maximized and starts receiving contacts. Sets the application's name and version.
    explicit LanternixDialog(QWidget *parent);
    ~LanternixDialog() override;

    /// Switches the boards' reports off and detaches from the driver: nothing comes any more. For a process
    /// that ends without destroying its window. May be called on any thread.
    void detach();

public slots:
    // The caller's records get Korvane::Controls::taken if a widget took them.
    void in_korvane_pen(Korvane::Controls &event);
    void in_korvane_touch(std::vector<Korvane::Controls> &event); ///< the records of one report
    void in_korvane_erase(std::vector<Korvane::Controls> &event); ///< the records of one report
    /// One tick: asks for the next, renders every item, waits for all of them, and repaints what has changed.
    void in_timer_update();

public:
    void keyPressEvent(QKeyEvent *event) override;

private:
    using Targets = std::map<int, QWidget *>; ///< by contact id; null: not captured. Entries stay
    using Batches =
        std::map<QWidget *, std::vector<Korvane::Controls>>; ///< entries stay, empty between reports
    using ViewOperation = void (ItemView::*)(const std::vector<Korvane::Controls> &);

    QRect screen_geometry() const;
    QWidget *capture(Targets &targets, int id, QPoint dialog_point) const;
    void route(std::vector<Korvane::Controls> &event, Targets &targets, Batches &batches,
               ViewOperation deliver);
    void toggle_maximized();
    void start_timer();
    void begin_renders();

    std::unique_ptr<Korvane> m_korvane;
    Targets m_pen_targets;
    Targets m_touch_targets;
    Targets m_erase_targets;
    Batches m_touch_batches;
    Batches m_erase_batches;
    StrokesView *m_view = nullptr;   ///< a child of the dialog
    std::vector<ItemView *> m_views; ///< whose items the tick renders
    QTimer *m_timer = nullptr;       ///< a child of the dialog
    bool m_maximized = true;
    std::unique_ptr<TickPace> m_pace;
};
