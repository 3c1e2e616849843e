#include "e2e/desk.h"
#include "e2e/servers.h"

#include <gtest/gtest.h>

// Screens that change, and a window that moves, while contacts are down: every contact still lifts.

namespace {

const QRect left(0, 0, 1920, 1080);
const QRect right(1920, 0, 1920, 1080);
const QRect small(0, 0, 1280, 720);

struct Change
{
    const char *name;
    std::vector<QRect> before;
    std::vector<QRect> after;
    QRect window; ///< the screen that it fills afterwards
    bool moved;   ///< by a person
};

class WhileContactsAreDown : public testing::TestWithParam<Change>
{
};

TEST_P(WhileContactsAreDown, NoneOfThemIsLost)
{
    const QStringList packages = ScreensServer::missing_packages();
    if (!packages.isEmpty())
        GTEST_SKIP() << "needs the packages " << packages.join(", ").toStdString();
    const Change &change = GetParam();
    const QPoint begin(12000, 14000);
    ScreensServer server;
    server.arrange(change.before, 0);
    server.add_window_manager();
    Desk desk(server.display(), {});
    ASSERT_TRUE(desk.moves_to(change.before.front()));
    for (const Kind kind : {Kind::pen, Kind::touch, Kind::eraser})
        desk.board().sample(kind, 5, begin, true);
    ASSERT_TRUE(desk.shows_tags());

    server.arrange(change.after, 0);
    ASSERT_TRUE(change.moved ? desk.moves_to(change.window) : desk.fills(change.window));
    for (const Kind kind : {Kind::pen, Kind::touch, Kind::eraser}) {
        desk.board().sample(kind, 5, begin + QPoint(9000, 0), true);
        desk.board().sample(kind, 5, begin + QPoint(9000, 0), false);
    }

    EXPECT_TRUE(desk.shows_no_tags());
    EXPECT_TRUE(desk.board().handed_back().empty());
    EXPECT_EQ(desk.end(), 0);
}

INSTANTIATE_TEST_SUITE_P(
    , WhileContactsAreDown,
    testing::Values(Change{"TheWindowMoves", {left, right}, {left, right}, right, true},
                    Change{"TheScreenShrinks", {left}, {small}, small, false},
                    Change{"AScreenComes", {left}, {left, right}, left, false},
                    Change{"AScreenGoes", {left, right}, {left}, left, false},
                    Change{"TheScreensSwapPlaces", {left, right}, {right, left}, left, false}),
    [](const auto &row) { return row.param.name; });

} // namespace
