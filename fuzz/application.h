#pragma once

#include <QApplication>

/// Makes, at the first call, the application that the classes under test need; it needs no display. It is
/// never destroyed: the fuzzer ends by exit(), when Qt's own objects may have gone already.
inline void need_application()
{
    static int argc = 1;
    static char name[] = "fuzz";
    static char *argv[] = {name, nullptr};
    if (QCoreApplication::instance())
        return;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static const QApplication *const application = new QApplication(argc, argv);
    Q_UNUSED(application)
}
