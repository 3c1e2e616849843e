#include "lxwindow.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    // Contacts come from the board itself and go back to the system by hand: Qt must not make one of the
    // other.
    QCoreApplication::setAttribute(Qt::AA_SynthesizeTouchForUnhandledMouseEvents, false);
    QCoreApplication::setAttribute(Qt::AA_SynthesizeMouseForUnhandledTouchEvents, false);
    LanternixDialog dialog(nullptr);
    return dialog.exec();
}
