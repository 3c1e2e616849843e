#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

struct xcb_connection_t;

namespace stage {

/// What an X server shows. Used on one thread.
class Display
{
public:
    /// In pixels.
    struct Size
    {
        int width = 0;
        int height = 0;
    };

    /// @p name as in DISPLAY.
    explicit Display(const std::string &name);
    ~Display();
    Display(const Display &) = delete;
    Display &operator=(const Display &) = delete;

    /// Of all screens together; nothing if there is no server.
    Size size() const;
    /// The colour of a pixel of the screen: 0xRRGGBB. Nothing if the server has gone.
    std::optional<std::uint32_t> pixel(int x, int y) const;

    /// A number that is another one for another picture of all screens; 0 if the server has gone.
    std::size_t fingerprint() const;

private:
    struct Image;

    /// A part of the screen, with 4 bytes for each pixel.
    Image image(int x, int y, int width, int height) const;

    xcb_connection_t *const m_server;
};

} // namespace stage
