#include "e2e/desktop.h"
#include "e2e/helper.h"

#include <QLibraryInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

struct Row
{
    const char *name;
    const char *platform;
};

class OnWayland : public testing::TestWithParam<Row>
{
};

TEST_P(OnWayland, TheProgramSaysWhatToDo)
{
    const QString plugin =
        QLibraryInfo::location(QLibraryInfo::PluginsPath) + "/platforms/libqwayland-generic.so";
    if (!missing({"weston", plugin}).isEmpty())
        GTEST_SKIP() << "needs the packages weston and qtwayland5";
    const QTemporaryDir folder;
    Environment environment{{"XDG_RUNTIME_DIR", folder.path()}, {"WAYLAND_DISPLAY", {}}, {"DISPLAY", {}}};
    Helper weston({"weston", "--backend=headless-backend.so", "--use-pixman", "--no-config", "--idle-time=0",
                   "--socket=test"},
                  environment);
    weston.await("launching '.*/weston-desktop-shell'");
    environment["WAYLAND_DISPLAY"] = "test";
    environment["QT_QPA_PLATFORM"] = GetParam().platform;

    QProcess program;
    program.setProcessEnvironment(changed_environment(environment));
    program.start(LANTERNIX_PROGRAM, QStringList());

    QByteArray told;
    EXPECT_TRUE(eventually([&] {
        told += program.readAllStandardError();
        return told.contains("lanternix: on Wayland contacts are misplaced; start lanternix -platform xcb\n");
    })) << told.toStdString();
    program.kill();
    program.waitForFinished();
}

INSTANTIATE_TEST_SUITE_P(, OnWayland,
                         testing::Values(Row{"ThatIsChosen", "wayland"},
                                         Row{"WithoutAnXServer", "xcb;wayland"}),
                         [](const auto &row) { return row.param.name; });

} // namespace
