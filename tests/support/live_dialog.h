#pragma once

#include "lxwindow.h"

#include <QObject>

#include <memory>

class StrokesView;

/// The program's window on the offscreen screen, for as long as this object or end() lets it live.
class LiveDialog
{
public:
    /// Starts it, on the driver that is loaded, and waits until it is shown.
    LiveDialog();

    ZorvicHardware &hardware();
    StrokesView &view();

    /// Whether a pen that comes down in the middle of the screen now reaches the view.
    bool takes_a_pen();
    /// Closes the window, which leaves the driver.
    void end();

    // Signals of the view so far.
    int pens = 0;
    int touches = 0;
    int erasers = 0;

private:
    std::unique_ptr<LanternixDialog> m_dialog = std::make_unique<LanternixDialog>(nullptr);
    QObject m_context; ///< its end ends the connections
};
