#include "stage/display.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include <xcb/xcb.h>

namespace stage {

Display::Display(const std::string &name) : m_server(xcb_connect(name.c_str(), nullptr)) { }

Display::~Display()
{
    xcb_disconnect(m_server);
}

Display::Size Display::size() const
{
    if (xcb_connection_has_error(m_server) != 0)
        return {};
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(m_server)).data->root;
    const std::unique_ptr<xcb_get_geometry_reply_t, decltype(&std::free)> answer(
        xcb_get_geometry_reply(m_server, xcb_get_geometry(m_server, root), nullptr), &std::free);
    return answer ? Size{answer->width, answer->height} : Size{};
}

std::optional<std::uint32_t> Display::pixel(int x, int y) const
{
    constexpr std::uint32_t rgb = 0xffffff;
    if (xcb_connection_has_error(m_server) != 0)
        return {};
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(m_server)).data->root;
    const auto cookie = xcb_get_image(m_server, XCB_IMAGE_FORMAT_Z_PIXMAP, root, static_cast<std::int16_t>(x),
                                      static_cast<std::int16_t>(y), 1, 1, ~0U);
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> image(
        xcb_get_image_reply(m_server, cookie, nullptr), &std::free);
    std::uint32_t value = 0;
    if (!image || xcb_get_image_data_length(image.get()) < static_cast<int>(sizeof value))
        return {};
    std::memcpy(&value, xcb_get_image_data(image.get()), sizeof value);
    return value & rgb;
}

} // namespace stage
