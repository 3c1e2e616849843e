#include "commands/window.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <xcb/xcb.h>

namespace lab {

namespace {

constexpr int deepest = 4; ///< a window manager puts few windows around that of a program

struct Free
{
    void operator()(void *reply) const { std::free(reply); }
};

/// An answer of the X server; null if the window has gone.
template <typename Reply> using Answer = std::unique_ptr<Reply, Free>;

/// A connection to the X server, to look for the windows of one process.
class Search
{
public:
    Search(pid_t process, const char *display)
        : m_process(static_cast<std::uint32_t>(process)), m_server(xcb_connect(display, nullptr))
    {
        if (xcb_connection_has_error(m_server) != 0)
            return;
        constexpr const char *name = "_NET_WM_PID";
        const auto cookie = xcb_intern_atom(m_server, 1, static_cast<std::uint16_t>(std::strlen(name)), name);
        const Answer<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(m_server, cookie, nullptr));
        if (atom)
            m_processProperty = atom->atom;
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_server)).data->root;
    }
    ~Search() { xcb_disconnect(m_server); }
    Search(const Search &) = delete;
    Search &operator=(const Search &) = delete;

    /// The content of the largest visible window.
    std::optional<acceptance::Area> largest()
    {
        if (m_root != XCB_WINDOW_NONE)
            look(m_root, 0);
        return m_found;
    }

    bool hasFocus() const
    {
        if (m_root == XCB_WINDOW_NONE)
            return false;
        const Answer<xcb_get_input_focus_reply_t> focus(
            xcb_get_input_focus_reply(m_server, xcb_get_input_focus(m_server), nullptr));
        return focus && processOf(focus->focus) == m_process;
    }

private:
    void look(xcb_window_t window, int depth)
    {
        const std::optional<std::uint32_t> process = processOf(window);
        if (process == m_process && isVisible(window))
            keepLarger(window);
        if (process || depth == deepest)
            return;
        const Answer<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(m_server, xcb_query_tree(m_server, window), nullptr));
        for (int i = 0; tree && i < xcb_query_tree_children_length(tree.get()); ++i)
            look(xcb_query_tree_children(tree.get())[i], depth + 1);
    }

    /// Nothing unless a program has put its number there.
    std::optional<std::uint32_t> processOf(xcb_window_t window) const
    {
        const auto cookie = xcb_get_property(m_server, 0, window, m_processProperty, XCB_ATOM_CARDINAL, 0, 1);
        const Answer<xcb_get_property_reply_t> property(xcb_get_property_reply(m_server, cookie, nullptr));
        if (!property || property->format != 32 || xcb_get_property_value_length(property.get()) < 4)
            return {};
        std::uint32_t number = 0;
        std::memcpy(&number, xcb_get_property_value(property.get()), sizeof number);
        return number;
    }

    bool isVisible(xcb_window_t window) const
    {
        const Answer<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(m_server, xcb_get_window_attributes(m_server, window), nullptr));
        return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    }

    void keepLarger(xcb_window_t window)
    {
        const Answer<xcb_get_geometry_reply_t> size(
            xcb_get_geometry_reply(m_server, xcb_get_geometry(m_server, window), nullptr));
        const Answer<xcb_translate_coordinates_reply_t> corner(xcb_translate_coordinates_reply(
            m_server, xcb_translate_coordinates(m_server, window, m_root, 0, 0), nullptr));
        if (!size || !corner)
            return;
        const acceptance::Area area{corner->dst_x, corner->dst_y, size->width, size->height};
        if (!m_found || area.width * area.height > m_found->width * m_found->height)
            m_found = area;
    }

    const std::uint32_t m_process;
    xcb_connection_t *const m_server;
    xcb_atom_t m_processProperty = XCB_ATOM_NONE;
    xcb_window_t m_root = XCB_WINDOW_NONE; ///< none without a server
    std::optional<acceptance::Area> m_found;
};

} // namespace

bool knowsWindows()
{
    xcb_connection_t *const server = xcb_connect(nullptr, nullptr);
    const bool isThere = xcb_connection_has_error(server) == 0;
    xcb_disconnect(server);
    return isThere;
}

std::optional<acceptance::Area> windowOf(pid_t process, const char *display)
{
    return Search(process, display).largest();
}

bool hasFocus(pid_t process)
{
    return Search(process, nullptr).hasFocus();
}

} // namespace lab
