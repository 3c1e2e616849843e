#include "latency/screen.h"

#include "language.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <poll.h>
#include <xcb/xtest.h>

namespace latency {

namespace {

using lab::tr;

constexpr std::uint32_t allPlanes = 0xffffffff;
constexpr int strokeDifference = 100; // of 255; an info tag tints by 32

int channel(Colour colour, int shift)
{
    return static_cast<int>(colour >> shift & 0xff);
}

/// Takes ownership of a reply of the server, which the receiver has to free.
template <typename Reply> std::unique_ptr<Reply, void (*)(void *)> owned(Reply *reply)
{
    if (!reply)
        throw std::runtime_error(tr("the X server does not answer"));
    return {reply, std::free};
}

} // namespace

bool differs(Colour before, Colour after)
{
    const auto channels = {0, 8, 16};
    return std::any_of(channels.begin(), channels.end(), [before, after](int shift) {
        return std::abs(channel(before, shift) - channel(after, shift)) > strokeDifference;
    });
}

Colour Picture::at(Point point) const
{
    return pixels.at(static_cast<std::size_t>(point.y) * static_cast<std::size_t>(width)
                     + static_cast<std::size_t>(point.x));
}

Screen::Screen() : m_connection(xcb_connect(nullptr, nullptr), xcb_disconnect)
{
    check();
    xcb_connection_t *const x = m_connection.get();
    const xcb_screen_t *const screen = xcb_setup_roots_iterator(xcb_get_setup(x)).data;
    m_root = screen->root;
    m_width = screen->width_in_pixels;
    m_height = screen->height_in_pixels;

    const xcb_query_extension_reply_t *const extension = xcb_get_extension_data(x, &xcb_damage_id);
    if (!extension || !extension->present)
        throw std::runtime_error(tr("the X server lacks the DAMAGE extension"));
    owned(xcb_damage_query_version_reply(x, xcb_damage_query_version(x, 1, 1), nullptr));
    m_damageEvent = static_cast<std::uint8_t>(extension->first_event + XCB_DAMAGE_NOTIFY);
    m_damage = xcb_generate_id(x);
    // One event covers all changes until it is taken, so the server sends as few as possible.
    xcb_damage_create(x, m_damage, m_root, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    forgetChanges();
}

Screen::~Screen() = default;

void Screen::check() const
{
    if (xcb_connection_has_error(m_connection.get()))
        throw std::runtime_error(tr("no connection to the X server"));
}

/// Takes all events and returns whether one of them reports a change.
bool Screen::takeChanges()
{
    bool changed = false;
    while (const std::unique_ptr<xcb_generic_event_t, void (*)(void *)> event{
        xcb_poll_for_event(m_connection.get()), std::free})
        changed |= (event->response_type & 0x7f) == m_damageEvent;
    if (changed) {
        xcb_damage_subtract(m_connection.get(), m_damage, XCB_NONE, XCB_NONE);
        xcb_flush(m_connection.get());
    }
    return changed;
}

std::optional<Nanoseconds> Screen::waitForChange(Nanoseconds deadline)
{
    for (;;) {
        const Nanoseconds arrived = now();
        if (takeChanges())
            return arrived;
        check();
        if (arrived >= deadline)
            return std::nullopt;
        const Nanoseconds left = deadline - arrived;
        const timespec timeout{left / 1'000'000'000, left % 1'000'000'000};
        pollfd input{xcb_get_file_descriptor(m_connection.get()), POLLIN, 0};
        ppoll(&input, 1, &timeout, nullptr);
    }
}

void Screen::forgetChanges()
{
    xcb_connection_t *const x = m_connection.get();
    xcb_damage_subtract(x, m_damage, XCB_NONE, XCB_NONE);
    // After a round trip, all events about earlier changes have arrived.
    owned(xcb_get_input_focus_reply(x, xcb_get_input_focus(x), nullptr));
    takeChanges();
}

Nanoseconds Screen::settle(Nanoseconds quiet, Nanoseconds deadline)
{
    Nanoseconds last = 0;
    while (const auto change = waitForChange(now() + quiet)) {
        last = *change;
        if (last > deadline)
            throw std::runtime_error(tr("the screen does not come to rest"));
    }
    return last;
}

std::vector<Colour> Screen::colours(const std::vector<Point> &points)
{
    xcb_connection_t *const x = m_connection.get();
    std::vector<xcb_get_image_cookie_t> cookies;
    cookies.reserve(points.size());
    for (const Point point : points)
        cookies.push_back(xcb_get_image(x, XCB_IMAGE_FORMAT_Z_PIXMAP, m_root,
                                        static_cast<std::int16_t>(point.x),
                                        static_cast<std::int16_t>(point.y), 1, 1, allPlanes));
    std::vector<Colour> colours;
    colours.reserve(points.size());
    for (const xcb_get_image_cookie_t cookie : cookies) {
        const auto reply = owned(xcb_get_image_reply(x, cookie, nullptr));
        Colour colour = 0;
        std::memcpy(&colour, xcb_get_image_data(reply.get()), sizeof colour);
        colours.push_back(colour & 0xffffff);
    }
    return colours;
}

Picture Screen::picture()
{
    xcb_connection_t *const x = m_connection.get();
    const auto cookie =
        xcb_get_image(x, XCB_IMAGE_FORMAT_Z_PIXMAP, m_root, 0, 0, static_cast<std::uint16_t>(m_width),
                      static_cast<std::uint16_t>(m_height), allPlanes);
    const auto reply = owned(xcb_get_image_reply(x, cookie, nullptr));
    Picture picture{m_width, m_height, {}};
    picture.pixels.resize(static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height));
    const auto bytes = static_cast<std::size_t>(xcb_get_image_data_length(reply.get()));
    std::memcpy(picture.pixels.data(), xcb_get_image_data(reply.get()),
                std::min(bytes, picture.pixels.size() * sizeof(Colour)));
    for (Colour &pixel : picture.pixels)
        pixel &= 0xffffff;
    return picture;
}

void Screen::press(std::uint32_t symbol)
{
    xcb_connection_t *const x = m_connection.get();
    const xcb_setup_t *const setup = xcb_get_setup(x);
    const auto keys = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    const auto mapping = owned(
        xcb_get_keyboard_mapping_reply(x, xcb_get_keyboard_mapping(x, setup->min_keycode, keys), nullptr));
    const xcb_keysym_t *const symbols = xcb_get_keyboard_mapping_keysyms(mapping.get());
    const xcb_keysym_t *const end = symbols + xcb_get_keyboard_mapping_keysyms_length(mapping.get());
    const xcb_keysym_t *const found = std::find(symbols, end, symbol);
    if (found == end)
        throw std::runtime_error(tr("the X server's keyboard lacks a key"));
    const auto code =
        static_cast<std::uint8_t>(setup->min_keycode + (found - symbols) / mapping->keysyms_per_keycode);
    xcb_test_fake_input(x, XCB_KEY_PRESS, code, XCB_CURRENT_TIME, m_root, 0, 0, 0);
    xcb_test_fake_input(x, XCB_KEY_RELEASE, code, XCB_CURRENT_TIME, m_root, 0, 0, 0);
    xcb_flush(x);
}

void Screen::movePointer(Point to)
{
    constexpr std::uint8_t absolute = 0;
    xcb_test_fake_input(m_connection.get(), XCB_MOTION_NOTIFY, absolute, XCB_CURRENT_TIME, m_root,
                        static_cast<std::int16_t>(to.x), static_cast<std::int16_t>(to.y), 0);
    xcb_flush(m_connection.get());
}

void Screen::holdButton(bool held)
{
    xcb_test_fake_input(m_connection.get(), held ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE, XCB_BUTTON_INDEX_1,
                        XCB_CURRENT_TIME, m_root, 0, 0, 0);
    xcb_flush(m_connection.get());
}

} // namespace latency
