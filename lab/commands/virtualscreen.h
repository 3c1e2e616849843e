#pragma once

#include <string>

#include <sys/types.h>

namespace lab {

/// An X server without a screen (Xvfb), with a window manager (openbox), as long as it lives.
class VirtualScreen
{
public:
    /// If they cannot be started, one line on standard error says why.
    VirtualScreen();
    ~VirtualScreen();
    VirtualScreen(const VirtualScreen &) = delete;
    VirtualScreen &operator=(const VirtualScreen &) = delete;

    bool isThere() const { return !m_display.empty(); }
    /// For a program's DISPLAY, e.g. ":1".
    const std::string &display() const { return m_display; }
    /// Writes what is on the screen as a PNG. If that fails, one line on standard error says why.
    bool save(const std::string &picture) const;

private:
    pid_t m_server = 0;
    pid_t m_windowManager = 0;
    std::string m_display;
};

} // namespace lab
