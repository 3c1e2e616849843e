#pragma once

#include "lxwindow.h"

#include <QObject>

#include <memory>

class StrokesView;

/// The program's window on the offscreen screen. It lives until end() or the destruction of this object.
class LiveDialog
{
public:
    /// Starts the window with the loaded driver and waits until it is shown.
    LiveDialog();

    ZorvicHardware &hardware();
    StrokesView &view();

    /// Whether a pen that comes down in the centre of the screen now reaches the view.
    bool takes_a_pen();
    /// Closes the window, which detaches from the driver.
    void end();

    // Counts of the view's signals so far.
    int pens = 0;
    int touches = 0;
    int erasers = 0;

private:
    std::unique_ptr<LanternixDialog> m_dialog = std::make_unique<LanternixDialog>(nullptr);
    QObject m_context; ///< its destruction ends the connections
};
