#include "e2e/desk.h"
#include "e2e/desktop.h"
#include "e2e/record.h"
#include "e2e/servers.h"

#include <gtest/gtest.h>

#include <algorithm>

// The program at several screens: its window on each of them, and each of them the primary one.
// docs/screens.md has the tables.

namespace {

const QSize full_hd{1920, 1080};
const QSize small{1280, 720};

/// Nine places over the whole board, so far from each other that no tag covers another contact.
Places nine_places()
{
    Places places;
    for (const int y : {6000, 16500, 27000}) {
        for (const int x : {6000, 16500, 27000})
            places.emplace_back(x, y);
    }
    return places;
}

struct Layout
{
    const char *name; ///< of the table, too
    std::vector<ScaledScreen> screens;
    Environment environment;
};

ScaledScreen screen_at(int x, int y, QSize size, double factor = 1)
{
    return {{QPoint(x, y), size}, factor};
}

const std::vector<Layout> layouts{
    {"RightAlike", {screen_at(0, 0, full_hd), screen_at(1920, 0, full_hd)}, {}},
    {"RightSmaller", {screen_at(0, 0, full_hd), screen_at(1920, 0, small)}, {}},
    {"LeftSmaller", {screen_at(1280, 0, full_hd), screen_at(0, 0, small)}, {}},
    {"AboveSmaller", {screen_at(0, 720, full_hd), screen_at(0, 0, small)}, {}},
    {"Three", {screen_at(1280, 0, full_hd), screen_at(0, 0, small), screen_at(3200, 0, small)}, {}},
    {"RightScaled",
     {screen_at(0, 0, full_hd), screen_at(1920, 0, {3840, 2160}, 2)},
     {{"QT_SCREEN_SCALE_FACTORS", "DUMMY0=1;DUMMY1=2"}}},
};

std::vector<QRect> areas(const std::vector<ScaledScreen> &screens)
{
    std::vector<QRect> areas;
    for (const ScaledScreen &screen : screens)
        areas.push_back(screen.area);
    return areas;
}

QString place_name(const ScaledScreen &screen)
{
    const QRect &area = screen.area;
    return QStringLiteral("%1 x %2 at %3, %4")
        .arg(area.width())
        .arg(area.height())
        .arg(area.x())
        .arg(area.y());
}

/// What becomes of the contacts of a kind, in a few words.
QString words(const Mapping &mapping, Kind kind, const QRect &window)
{
    QStringList parts;
    const auto add = [&parts](int count, const QString &what) {
        if (count > 0)
            parts << QStringLiteral("%1 %2").arg(count).arg(what);
    };
    int in_place = 0;
    int elsewhere = 0;
    int handed_back = 0;
    int swallowed = 0;
    for (const QPoint place : nine_places()) {
        const Fate fate = mapping.fate(kind, place, window);
        const QPointF off = fate.place - mapping.touched_at(place, window);
        const bool is_near = off.manhattanLength() <= 2 * mapping.factor(window);
        in_place += fate.what == Fate::drawn && is_near;
        elsewhere += fate.what == Fate::drawn && !is_near;
        handed_back += fate.what == Fate::handed_back;
        swallowed += fate.what == Fate::swallowed;
    }
    add(in_place, "in place");
    add(elsewhere, "elsewhere");
    add(handed_back, "to the system");
    add(swallowed, "nowhere");
    return parts.join(", ");
}

class OnSeveralScreens : public testing::TestWithParam<Layout>
{
protected:
    void SetUp() override
    {
        const QStringList packages = ScreensServer::missing_packages();
        if (!packages.isEmpty())
            GTEST_SKIP() << "needs the packages " << packages.join(", ").toStdString();
    }
};

TEST_P(OnSeveralScreens, ContactsGoWhereTheRulesSay)
{
    const Layout &layout = GetParam();
    std::size_t row = 0;
    ScreensServer server;
    server.arrange(areas(layout.screens), 0);
    server.add_window_manager();
    for (std::size_t primary = 0; primary < layout.screens.size(); ++primary) {
        server.arrange(areas(layout.screens), static_cast<int>(primary));
        const Mapping mapping(layout.screens, static_cast<int>(primary));
        for (const ScaledScreen &screen : layout.screens) {
            Desk desk(server.display(), layout.environment);
            ASSERT_TRUE(desk.moves_to(screen.area)) << place_name(screen).toStdString();
            const QRect window = desk.window().area();

            EXPECT_EQ(desk.judge(mapping, nine_places()).toStdString(), "")
                << "primary " << primary << ", window at " << place_name(screen).toStdString();

            EXPECT_EQ(desk.end(), 0);
            record(layout.name, row++,
                   {place_name(layout.screens[primary]), place_name(screen),
                    words(mapping, Kind::pen, window), words(mapping, Kind::touch, window),
                    words(mapping, Kind::eraser, window)});
        }
    }
    if (!qEnvironmentVariableIsSet("LANTERNIX_SCREENS_ROWS")) {
        EXPECT_EQ(recorded_names(layout.name).size(), static_cast<int>(row)) << "rows of docs/screens.md";
    }
}

INSTANTIATE_TEST_SUITE_P(, OnSeveralScreens, testing::ValuesIn(layouts),
                         [](const auto &row) { return row.param.name; });

} // namespace
