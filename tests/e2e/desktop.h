#pragma once

#include <QImage>
#include <QProcess>
#include <QRect>
#include <QSize>
#include <QString>

#include <functional>
#include <memory>

/// Waits until @p condition holds; false if it does not within ten seconds.
bool eventually(const std::function<bool()> &condition);

/// The test's own X server (Xvfb) with a window manager (openbox). Both end with this object.
class Desktop
{
public:
    static constexpr int width = 1280; // pixels
    static constexpr int height = 720; // pixels
    static constexpr QSize usual_size{width, height};

    /// Throws std::runtime_error if the server or the window manager does not start.
    explicit Desktop(QSize size = usual_size);
    ~Desktop();

    QString display() const; ///< e.g. ":7"

    /// Waits until a window of this title and process has the keyboard focus; false if none gets it in time.
    bool has_active_window(const QString &title, qint64 process);
    /// The same, without waiting.
    bool has_active_window_now(const QString &title, qint64 process);
    /// What the active window shows, as a part of the screen.
    QImage window_picture();
    /// Where the active window's content is on the screen.
    QRect window_area();
    /// Whether the active window's pixels are as deep as the screen's, and so without alpha.
    bool window_is_as_deep_as_the_screen();
    /// Presses and releases a key, named as X names it, e.g. "Escape", "h", "Left".
    void press(const char *key);
    /// Asks the active window to close, as the window manager's button does.
    void close_window();
    /// Kills the X server, as a crash does. Nothing else may be asked of this object afterwards.
    void kill_server();

private:
    struct Connection;

    QProcess m_server;
    QProcess m_window_manager;
    QString m_display;
    std::unique_ptr<Connection> m_connection;
};
