#pragma once

#include <QApplication>

/// Creates, on the first call, the application that the classes under test need; it needs no display. It is
/// never destroyed, because the fuzzer ends by exit(), when Qt's own statics may already be gone.
inline void need_application(const char *platform = "offscreen")
{
    static int argc = 1;
    static char name[] = "fuzz";
    static char *argv[] = {name, nullptr};
    if (QCoreApplication::instance())
        return;
    qputenv("QT_QPA_PLATFORM", platform);
    static const QApplication *const application = new QApplication(argc, argv);
    Q_UNUSED(application)
}
