#pragma once

#include "latency/deliveries.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include <xcb/damage.h>
#include <xcb/xcb.h>

namespace latency {

struct Point
{
    int x = 0;
    int y = 0;
};

/// 0xRRGGBB.
using Colour = std::uint32_t;
constexpr Colour white = 0xffffff;

/// Whether a stroke has been drawn or wiped away at a pixel; an info tag's tint alone is less.
bool differs(Colour before, Colour after);

/// What the whole screen showed, row by row.
struct Picture
{
    int width = 0;
    int height = 0;
    std::vector<Colour> pixels;

    Colour at(Point point) const;
};

/// The X server's screen. Watching it takes no processor time while nothing changes on it. Every operation
/// throws std::runtime_error if the server is gone.
class Screen
{
public:
    Screen();
    ~Screen();
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    int width() const { return m_width; }
    int height() const { return m_height; }

    /// Waits for the next change and returns when it arrived; nothing if none does until @p deadline.
    std::optional<Nanoseconds> waitForChange(Nanoseconds deadline);
    /// Forgets the changes up to now.
    void forgetChanges();
    /// Waits until nothing has changed for @p quiet; returns when the last change arrived, 0 without one.
    Nanoseconds settle(Nanoseconds quiet, Nanoseconds deadline);

    std::vector<Colour> colours(const std::vector<Point> &points);
    Picture picture();

    /// Types one key in the window that has the focus; @p symbol as in keysymdef.h.
    void press(std::uint32_t symbol);
    void movePointer(Point to);
    /// Presses the left button, or lets it go.
    void holdButton(bool held);

private:
    void check() const;
    bool takeChanges();

    std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t *)> m_connection;
    xcb_window_t m_root = 0;
    int m_width = 0;
    int m_height = 0;
    std::uint8_t m_damageEvent = 0;
    xcb_damage_damage_t m_damage = 0;
};

} // namespace latency
