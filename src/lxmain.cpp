#include "ending.h"
#include "hardware/zorvicwrapper.h"
#include "lxwindow.h"
#include "platformadvice.h"
#include "process.h"

#include <QApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    process::open_standard_streams();
    process::require_resources();
    process::leave_opengl_out();
    process::share_heap();
    QApplication application(argc, argv);
    if (const char *const advice = platform_advice(QGuiApplication::platformName()))
        std::fputs(advice, stderr);
    // Contacts come from the board itself and go back to the system by hand: Qt must synthesize neither touch
    // events from the mouse nor mouse events from touches.
    QCoreApplication::setAttribute(Qt::AA_SynthesizeTouchForUnhandledMouseEvents, false);
    QCoreApplication::setAttribute(Qt::AA_SynthesizeMouseForUnhandledTouchEvents, false);
    Ending ending;
    LanternixDialog dialog(nullptr);
    ZorvicWrapper::keepLoaded();
    return ending.run(dialog);
}
