#pragma once

#include <cstdint>
#include <optional>
#include <string>

struct xcb_connection_t;

namespace torture {

/// What an X server shows. Used on one thread.
class Display
{
public:
    /// @p name as in DISPLAY.
    explicit Display(const std::string &name);
    ~Display();
    Display(const Display &) = delete;
    Display &operator=(const Display &) = delete;

    /// The colour of a pixel of the screen: 0xRRGGBB. Nothing if the server has gone.
    std::optional<std::uint32_t> pixel(int x, int y) const;

private:
    xcb_connection_t *const m_server;
};

} // namespace torture
