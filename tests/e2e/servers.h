#pragma once

#include "e2e/helper.h"

#include <QRect>
#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <vector>

/// An X server of the test's own with as many screens as a test asks for, each as real to its programs as a
/// monitor (Xorg with its driver for screens that are not there). Needs no rights. It ends with this object.
class ScreensServer
{
public:
    /// What the server needs that is not installed, as packages of Debian; empty if nothing is missing.
    static QStringList missing_packages();

    /// Throws std::runtime_error if the server does not start.
    ScreensServer();

    const QString &display() const { return m_display; }
    /// Switches these screens on, in pixels, and all others off. Their names are DUMMY0, DUMMY1 and so on.
    void arrange(const std::vector<QRect> &screens, int primary);
    /// Starts a program that manages windows, and waits until it does.
    void add_window_manager();
    /// Starts a program that puts windows together off the screen, and waits until it does.
    void add_compositor();
    /// Sets the resolution that desktops tell programs.
    void set_dots_per_inch(double dots);

private:
    Environment environment() const { return {{"DISPLAY", m_display}}; }
    void add_modes(const std::vector<QRect> &screens);

    QTemporaryDir m_folder;
    std::unique_ptr<Helper> m_server;
    QString m_display;
    QStringList m_added;                      ///< screens, modes, and both together
    std::unique_ptr<Helper> m_window_manager; ///< ends before the server, as does the next
    std::unique_ptr<Helper> m_compositor;
};
