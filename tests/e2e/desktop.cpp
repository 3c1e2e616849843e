#include "e2e/desktop.h"

#include <QTest>

#include <cstring>
#include <stdexcept>

// Included last, because of its macros.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>

namespace {

constexpr int patience_ms = 10'000;

/// The first bytes of a property, as Xlib returns them: 32-bit items are of type long. Empty if it is not
/// set.
QByteArray property(Display *display, Window window, const char *name)
{
    constexpr long longest = 64; // 32-bit items
    Atom type = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long rest = 0;
    unsigned char *data = nullptr;
    XGetWindowProperty(display, window, XInternAtom(display, name, False), 0, longest, False, AnyPropertyType,
                       &type, &format, &count, &rest, &data);
    if (!data)
        return {};
    const unsigned long item_size = format == 32 ? sizeof(long) : 1;
    const QByteArray value(reinterpret_cast<char *>(data), static_cast<int>(count * item_size));
    XFree(data);
    return value;
}

/// A property that holds one window or number; 0 if it is not set.
unsigned long number_property(Display *display, Window window, const char *name)
{
    const QByteArray value = property(display, window, name);
    unsigned long number = 0;
    if (value.size() >= static_cast<int>(sizeof number))
        std::memcpy(&number, value.constData(), sizeof number);
    return number;
}

/// Ignores Xlib's errors: a window may vanish during a query, which must not end the test program.
int ignore_error(Display *, XErrorEvent *)
{
    return 0;
}

QImage to_image(XImage &picture)
{
    const QImage shared(reinterpret_cast<const uchar *>(picture.data), picture.width, picture.height,
                        picture.bytes_per_line, QImage::Format_RGB32);
    return shared.copy();
}

} // namespace

bool eventually(const std::function<bool()> &condition)
{
    return QTest::qWaitFor(condition, patience_ms);
}

struct Desktop::Connection
{
    explicit Connection(const QString &display_name)
        : display(XOpenDisplay(display_name.toLatin1().constData()))
    {
        if (!display)
            throw std::runtime_error("cannot connect to the X server");
        XSetErrorHandler(ignore_error);
        root = DefaultRootWindow(display);
    }
    ~Connection() { XCloseDisplay(display); }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    Window active_window() const { return number_property(display, root, "_NET_ACTIVE_WINDOW"); }

    Window focus() const
    {
        Window window = None;
        int revert_to = 0;
        XGetInputFocus(display, &window, &revert_to);
        return window;
    }

    Display *display;
    Window root = 0;
};

Desktop::Desktop(QSize size)
{
    // The server chooses a free display number and writes it to standard output.
    m_server.setStandardErrorFile(QProcess::nullDevice());
    m_server.start("Xvfb",
                   {"-displayfd", "1", "-screen", "0",
                    QStringLiteral("%1x%2x24").arg(size.width()).arg(size.height()), "-nolisten", "tcp",
                    "-noreset"});
    while (!m_server.canReadLine()) {
        if (!m_server.waitForReadyRead(patience_ms))
            throw std::runtime_error("Xvfb does not start");
    }
    m_display = ":" + QString::fromLatin1(m_server.readLine()).trimmed();
    m_connection = std::make_unique<Connection>(m_display);

    m_window_manager.setStandardOutputFile(QProcess::nullDevice());
    m_window_manager.setStandardErrorFile(QProcess::nullDevice());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", m_display);
    m_window_manager.setProcessEnvironment(environment);
    m_window_manager.start("openbox", QStringList());
    if (!eventually([this] {
            return number_property(m_connection->display, m_connection->root, "_NET_NUMBER_OF_DESKTOPS") > 0;
        }))
        throw std::runtime_error("openbox does not start");
}

Desktop::~Desktop()
{
    m_connection.reset();
    for (QProcess *process : {&m_window_manager, &m_server}) {
        process->terminate();
        if (!process->waitForFinished(patience_ms))
            process->kill();
    }
}

void Desktop::kill_server()
{
    m_connection.reset();
    m_server.kill();
    m_server.waitForFinished(patience_ms);
}

QString Desktop::display() const
{
    return m_display;
}

bool Desktop::has_active_window(const QString &title, qint64 process)
{
    return eventually([&] { return has_active_window_now(title, process); });
}

bool Desktop::has_active_window_now(const QString &title, qint64 process)
{
    Display *const display = m_connection->display;
    const Window window = m_connection->active_window();
    // The next program may reuse a window's number while the window manager still considers the old window
    // active.
    return window == m_connection->focus() && property(display, window, "_NET_WM_NAME") == title.toUtf8()
        && number_property(display, window, "_NET_WM_PID") == static_cast<unsigned long>(process);
}

QRect Desktop::window_area()
{
    Display *const display = m_connection->display;
    const Window window = m_connection->active_window();
    Window child = 0;
    XWindowAttributes attributes{};
    XGetWindowAttributes(display, window, &attributes);
    int x = 0;
    int y = 0;
    XTranslateCoordinates(display, window, m_connection->root, 0, 0, &x, &y, &child);
    return {x, y, attributes.width, attributes.height};
}

bool Desktop::window_is_as_deep_as_the_screen()
{
    Display *const display = m_connection->display;
    XWindowAttributes attributes{};
    XGetWindowAttributes(display, m_connection->active_window(), &attributes);
    return attributes.depth == DefaultDepth(display, DefaultScreen(display));
}

QImage Desktop::window_picture()
{
    const QRect area = window_area();
    XImage *const picture = XGetImage(m_connection->display, m_connection->root, area.x(), area.y(),
                                      static_cast<unsigned int>(area.width()),
                                      static_cast<unsigned int>(area.height()), AllPlanes, ZPixmap);
    if (!picture)
        return {};
    QImage image = to_image(*picture);
    XDestroyImage(picture);
    return image;
}

void Desktop::press(const char *key)
{
    Display *const display = m_connection->display;
    const KeyCode code = XKeysymToKeycode(display, XStringToKeysym(key));
    XTestFakeKeyEvent(display, code, True, CurrentTime);
    XTestFakeKeyEvent(display, code, False, CurrentTime);
    XSync(display, False);
}

void Desktop::close_window()
{
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = m_connection->active_window();
    event.xclient.message_type = XInternAtom(m_connection->display, "_NET_CLOSE_WINDOW", False);
    event.xclient.format = 32;
    XSendEvent(m_connection->display, m_connection->root, False,
               SubstructureNotifyMask | SubstructureRedirectMask, &event);
    XSync(m_connection->display, False);
}
