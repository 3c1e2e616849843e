#pragma once

#include <QImage>
#include <QRect>
#include <QString>

#include <memory>

/// The window of one process on an X server, as another program sees it. Pixels count from the top left
/// corner of all screens.
class XWindow
{
public:
    /// Waits until the process shows a window; throws std::runtime_error if it does not in time.
    XWindow(const QString &display, qint64 process);
    ~XWindow();
    XWindow(const XWindow &) = delete;
    XWindow &operator=(const XWindow &) = delete;

    /// Where its content is.
    QRect area() const;
    /// Asks for another place.
    void place(const QRect &area) const;
    /// What it shows within @p area, which must be on a screen.
    QImage picture(const QRect &area) const;
    /// Gives it a key, named as X names it, whichever window has the focus.
    void press(const char *key) const;

    /// Whether a window manager runs.
    static bool is_managed(const QString &display);
    /// Whether a compositor puts the windows together; see the Extended Window Manager Hints.
    static bool is_composited(const QString &display);

private:
    struct Connection;

    std::unique_ptr<Connection> m_connection;
};
