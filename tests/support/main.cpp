#include <QApplication>

#include <gtest/gtest.h>

#include <cstdlib>

/// Runs every test program on Qt's offscreen platform, whatever the display, in English, and without the
/// user's driver or scenario.
int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("LANGUAGE", "C");
    qunsetenv("TEXTDOMAINDIR");
    for (const char *name :
         {"BOARDSIM_SCENARIO", "BOARDSIM_LOG", "BOARDSIM_MISBEHAVIOUR", "LD_LIBRARY_PATH", "QT_SCALE_FACTOR"})
        qunsetenv(name);
    testing::InitGoogleTest(&argc, argv);
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
