#include "e2e/xwindow.h"

#include "e2e/desktop.h"

#include <cstring>
#include <stdexcept>
#include <vector>

// Included last, because of its macros.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

/// A window may vanish during a query, which must not end the test.
int ignore_error(Display *, XErrorEvent *)
{
    return 0;
}

/// The first number in a property; 0 if it is not set.
unsigned long number_in(Display *display, Window window, const char *property)
{
    Atom type = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long rest = 0;
    unsigned char *data = nullptr;
    XGetWindowProperty(display, window, XInternAtom(display, property, False), 0, 1, False, AnyPropertyType,
                       &type, &format, &count, &rest, &data);
    unsigned long number = 0;
    if (data && format == 32 && count > 0)
        std::memcpy(&number, data, sizeof number);
    if (data)
        XFree(data);
    return number;
}

bool is_visible(Display *display, Window window)
{
    XWindowAttributes attributes{};
    return XGetWindowAttributes(display, window, &attributes) && attributes.map_state == IsViewable
        && attributes.c_class == InputOutput && attributes.width > 1;
}

/// The visible window of the process in the tree below @p window; 0 if there is none.
Window find(Display *display, Window window, unsigned long process)
{
    if (number_in(display, window, "_NET_WM_PID") == process && is_visible(display, window))
        return window;
    Window root = 0;
    Window parent = 0;
    Window *children = nullptr;
    unsigned int count = 0;
    if (!XQueryTree(display, window, &root, &parent, &children, &count) || !children)
        return 0;
    const std::vector<Window> below(children, children + count);
    XFree(children);
    for (const Window child : below) {
        if (const Window found = find(display, child, process))
            return found;
    }
    return 0;
}

} // namespace

struct XWindow::Connection
{
    explicit Connection(const QString &name) : display(XOpenDisplay(name.toLatin1().constData()))
    {
        if (!display)
            throw std::runtime_error("cannot connect to the X server");
        XSetErrorHandler(ignore_error);
        root = DefaultRootWindow(display);
    }
    ~Connection() { XCloseDisplay(display); }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    Display *display;
    Window root = 0;
    Window window = 0;
};

XWindow::XWindow(const QString &display, qint64 process) : m_connection(std::make_unique<Connection>(display))
{
    Connection &x = *m_connection;
    if (!eventually(
            [&] { return (x.window = find(x.display, x.root, static_cast<unsigned long>(process))) != 0; }))
        throw std::runtime_error("no window is shown");
}

XWindow::~XWindow() = default;

QRect XWindow::area() const
{
    Display *const display = m_connection->display;
    XWindowAttributes attributes{};
    XGetWindowAttributes(display, m_connection->window, &attributes);
    Window child = 0;
    int x = 0;
    int y = 0;
    XTranslateCoordinates(display, m_connection->window, m_connection->root, 0, 0, &x, &y, &child);
    return {x, y, attributes.width, attributes.height};
}

void XWindow::place(const QRect &area) const
{
    XMoveResizeWindow(m_connection->display, m_connection->window, area.x(), area.y(),
                      static_cast<unsigned int>(area.width()), static_cast<unsigned int>(area.height()));
    XSync(m_connection->display, False);
}

QImage XWindow::picture(const QRect &area) const
{
    const QRect content = this->area();
    const QRect part = area.intersected(content).translated(-content.topLeft());
    if (part.isEmpty())
        return {};
    XImage *const picture = XGetImage(m_connection->display, m_connection->window, part.x(), part.y(),
                                      static_cast<unsigned int>(part.width()),
                                      static_cast<unsigned int>(part.height()), AllPlanes, ZPixmap);
    if (!picture)
        return {};
    const QImage shared(reinterpret_cast<const uchar *>(picture->data), picture->width, picture->height,
                        picture->bytes_per_line, QImage::Format_RGB32);
    QImage copy = shared.copy();
    XDestroyImage(picture);
    return copy;
}

void XWindow::press(const char *key) const
{
    Display *const display = m_connection->display;
    XEvent event{};
    event.xkey.display = display;
    event.xkey.window = m_connection->window;
    event.xkey.root = m_connection->root;
    event.xkey.same_screen = True;
    event.xkey.keycode = XKeysymToKeycode(display, XStringToKeysym(key));
    for (const int type : {KeyPress, KeyRelease}) {
        event.type = type;
        XSendEvent(display, m_connection->window, False, NoEventMask, &event);
    }
    XSync(display, False);
}

bool XWindow::is_managed(const QString &display)
{
    const Connection x(display);
    return number_in(x.display, x.root, "_NET_NUMBER_OF_DESKTOPS") > 0;
}

bool XWindow::is_composited(const QString &display)
{
    const Connection x(display);
    return XGetSelectionOwner(x.display, XInternAtom(x.display, "_NET_WM_CM_S0", False)) != 0;
}
