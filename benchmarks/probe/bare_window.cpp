// Measures what Qt itself takes: a program with an empty window and a tick, on the same driver, that does
// nothing else.

#include "hardware/abstracthardwarewrapper.h"

#include <QApplication>
#include <QKeySequence>
#include <QShortcut>
#include <QTimer>
#include <QWidget>

#include <cstdio>

#include <dlfcn.h>

namespace {

constexpr int tick_ms = 8;

/// Opens and attaches the driver, as the measured program does. Returns whether that worked.
bool open_driver()
{
    void *const library = dlopen("libzorvicboardex.so.1", RTLD_NOW);
    if (!library) {
        std::fprintf(stderr, "bare_window: %s\n", dlerror());
        return false;
    }
    const auto attach = reinterpret_cast<bool (*)()>(dlsym(library, "zorvicAttach"));
    const auto set_callback =
        reinterpret_cast<void (*)(int, PacketCallback, void *)>(dlsym(library, "zorvicSetCallback"));
    if (!attach || !set_callback || !attach())
        return false;
    set_callback(
        1, [](auto...) {}, nullptr);
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_XCB_GL_INTEGRATION", "none");
    QApplication application(argc, argv);
    QWidget window;
    window.setPalette(Qt::white);
    const QShortcut escape(QKeySequence(Qt::Key_Escape), &window, SLOT(close()));
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, [&timer] { timer.start(tick_ms); });
    timer.start(tick_ms);
    window.showMaximized();
    return open_driver() ? QApplication::exec() : 1;
}
