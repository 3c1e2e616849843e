#include "platformadvice.h"

#include "commands/launch.h"

#include <QFile>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

struct Row
{
    const char *platform;
    bool advised;
};

TEST(AdviceAboutThePlatform, ComesOnWaylandOnly)
{
    for (const auto &[platform, advised] :
         {Row{"wayland", true}, Row{"wayland-egl", true}, Row{"xcb", false}, Row{"offscreen", false}}) {
        const char *const advice = platform_advice(platform);
        EXPECT_EQ(advice != nullptr, advised) << platform;
        EXPECT_TRUE(!advice || QString(advice).contains("-platform xcb"));
    }
}

/// What the menu entry's command gives the program as its platform.
std::string platform_from_menu(const char *chosen)
{
    QFile entry(MENU_ENTRY);
    entry.open(QIODevice::ReadOnly);
    QString command = QString::fromUtf8(entry.readAll()).section("\nExec=", 1).section('\n', 0, 0);
    // First the escapes of all values in such a file, then those between quotation marks.
    command.replace("\\\\", "\\").replace("\\$", "$");
    const QString script = command.section('"', 1, 1);
    QTemporaryDir folder;
    QFile program(folder.filePath("lanternix"));
    program.open(QIODevice::WriteOnly);
    program.write("#!/bin/sh\nprintf %s \"$QT_QPA_PLATFORM\"\n");
    program.close();
    program.setPermissions(QFile::Permissions(0x7755));
    QProcess shell;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", chosen);
    environment.insert("PATH", folder.path() + ':' + environment.value("PATH"));
    shell.setProcessEnvironment(environment);
    shell.start("sh", {"-c", script});
    shell.waitForFinished();
    return shell.readAllStandardOutput().toStdString();
}

TEST(TheMenuEntry, PrefersX11UnlessTheUserChoosesAPlatform)
{
    EXPECT_EQ(platform_from_menu(""), "xcb;wayland");
    EXPECT_EQ(platform_from_menu("wayland"), "wayland");
}

/// What the companion gives a program that it starts.
std::string platform_from_companion(const char *chosen)
{
    qputenv("QT_QPA_PLATFORM", chosen);
    const QTemporaryDir folder;
    const QString told = folder.filePath("told");
    lab::Launch launch({"sh", "-c", "printf %s \"$QT_QPA_PLATFORM\" >\"$0\"", told.toStdString()});
    EXPECT_EQ(launch.run(), 0);
    QFile file(told);
    file.open(QIODevice::ReadOnly);
    return file.readAll().toStdString();
}

TEST(TheCompanion, PrefersX11UnlessTheUserChoosesAPlatform)
{
    EXPECT_EQ(platform_from_companion(""), "xcb;wayland");
    EXPECT_EQ(platform_from_companion("wayland"), "wayland");
}

} // namespace
