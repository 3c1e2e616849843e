#include "e2e/desk.h"
#include "e2e/desktop.h"
#include "e2e/servers.h"

#include <gtest/gtest.h>

#include <memory>

// The program under a window manager, under one whose windows a compositor puts together, and under none.

namespace {

constexpr QRect screen(0, 0, 1920, 1080);
constexpr QRect beside_the_edges(300, 200, 1200, 700);
const Places places{{9000, 12000}, {22000, 12000}, {9000, 24000}, {22000, 24000}};

struct Row
{
    const char *name;
    bool managed;
    bool composited;
};

class AWindow : public testing::TestWithParam<Row>
{
};

TEST_P(AWindow, HasContactsWhereTheyAreAndGivesBackWhatIsBesideIt)
{
    QStringList packages = ScreensServer::missing_packages();
    if (GetParam().composited)
        packages += missing({"picom"});
    if (!packages.isEmpty())
        GTEST_SKIP() << "needs the packages " << packages.join(", ").toStdString();
    ScreensServer server;
    server.arrange({screen}, 0);
    if (GetParam().managed)
        server.add_window_manager();
    if (GetParam().composited)
        server.add_compositor();
    Desk desk(server.display(), {});
    const Mapping mapping({{screen, 1}}, 0);
    if (GetParam().managed) {
        ASSERT_TRUE(desk.fills(screen));
        ASSERT_EQ(desk.judge(mapping, places).toStdString(), "");
        ASSERT_TRUE(desk.shrinks_to(beside_the_edges));
    } else { // nobody maximizes it, or gives it its former size
        desk.window().place(beside_the_edges);
        ASSERT_TRUE(eventually([&] { return desk.window().area() == beside_the_edges; }));
        desk.settle();
    }

    EXPECT_EQ(desk.judge(mapping, places).toStdString(), "");
    EXPECT_EQ(desk.judge_edges(mapping).toStdString(), "");
    EXPECT_EQ(desk.end(), 0);
}

INSTANTIATE_TEST_SUITE_P(, AWindow,
                         testing::Values(Row{"Managed", true, false}, Row{"ManagedAndComposited", true, true},
                                         Row{"Composited", false, true},
                                         Row{"AloneOnTheScreen", false, false}),
                         [](const auto &row) { return row.param.name; });

} // namespace
