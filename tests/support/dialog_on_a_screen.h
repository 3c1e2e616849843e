#pragma once

#include "lxwindow.h"
#include "strokesview.h"
#include "support/simulated_driver.h"

#include <QObject>
#include <QPoint>
#include <QRect>
#include <QSize>

#include <vector>

// A screen of 1024 by 512 pixels, so that whole pixels are exact; the view fills a dialog of 400 by 300 at
// (100, 50).

using Records = std::vector<Korvane::Controls>;

constexpr QSize screen_size(1024, 512);
constexpr QRect dialog_area(100, 50, 400, 300);

/// One of the three kinds of contact, which are routed alike but independently.
struct Kind
{
    const char *name;
    void (*send)(LanternixDialog &dialog, Records &records);
    int index;
    bool marked_copy; ///< whether the view's record is already marked as taken
};

extern const Kind pen;
extern const Kind touch;
extern const Kind eraser;

/// A dialog, and the records that its view gets, per kind and delivery.
class DialogOnAScreen
{
public:
    DialogOnAScreen();

    /// Sends one contact at @p place of the dialog; returns whether it came back taken.
    bool send(const Kind &kind, int id, QPoint place, int buttons = 1);

    /// A record as the input model emits it.
    static Korvane::Controls at(QPoint place, int id, int buttons = 1);

    std::size_t delivered(const Kind &kind) const { return deliveries[kind.index].size(); }
    Korvane::Controls last(const Kind &kind) const { return deliveries[kind.index].back().back(); }

private:
    SimulatedDriver m_driver;

public:
    LanternixDialog dialog{nullptr};
    StrokesView *const view = dialog.findChild<StrokesView *>();
    std::vector<Records> deliveries[3];

private:
    QObject m_context;
};
