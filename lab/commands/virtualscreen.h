#pragma once

#include "commands/launch.h"

#include <string>
#include <vector>

#include <sys/types.h>

namespace lab {

/// An X server without a screen, by default Xvfb, with a window manager (openbox), as long as it lives.
class VirtualScreen
{
public:
    /// @p size: in pixels, such as "1920x1080". If they cannot be started, one line on standard error says
    /// why.
    explicit VirtualScreen(const std::string &size = "1920x1080");
    ~VirtualScreen();
    VirtualScreen(const VirtualScreen &) = delete;
    VirtualScreen &operator=(const VirtualScreen &) = delete;

    bool isThere() const { return !m_display.empty(); }
    /// For a program's DISPLAY, e.g. ":1".
    const std::string &display() const { return m_display; }
    /// Waits until the program has its window and the screen rests. If that does not come, one line on
    /// standard error says so.
    bool awaitWindow(const Launch &program) const;
    /// Presses and releases a key in the active window, named as X names it, e.g. "Escape". False if that
    /// fails.
    bool press(const std::string &key) const;
    /// Writes what is on the screen as a PNG, once two pictures in a row are equal. If that fails, one line
    /// on standard error says why, and what was in the file before stays.
    bool save(const std::string &name) const;

protected:
    /// Starts another server; @p package is what it is installed with.
    VirtualScreen(std::vector<std::string> server, const std::string &package);

private:
    pid_t m_server = 0;
    pid_t m_windowManager = 0;
    std::string m_display;
};

} // namespace lab
