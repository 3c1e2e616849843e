#include "e2e/desk.h"
#include "e2e/desktop.h"
#include "e2e/record.h"
#include "e2e/servers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

// The program at screens of all sizes, scaled in all ways that a desktop has. docs/screens.md has the table.

namespace {

const std::vector<QSize> sizes{{1024, 768}, {1366, 768}, {1920, 1080}, {3840, 2160}, {7680, 4320}};

/// One way to scale what Qt shows.
struct Way
{
    const char *name;
    Environment (*environment)(double scale);
    bool dots_per_inch; ///< the desktop tells its programs a resolution
    double (*factor)(double scale);
};

double whole(double scale)
{
    return std::round(scale);
}

double as_asked(double scale)
{
    return scale;
}

const Way factor{"`QT_SCALE_FACTOR`",
                 [](double scale) {
                     return Environment{{"QT_SCALE_FACTOR", QString::number(scale)}};
                 },
                 false, as_asked};
const Way screen_factors{
    "`QT_SCREEN_SCALE_FACTORS`",
    [](double scale) {
        return Environment{{"QT_SCREEN_SCALE_FACTORS", "DUMMY0=" + QString::number(scale)}};
    },
    false, as_asked};
const Way resolution{"`Xft.dpi` alone", [](double) { return Environment{}; }, true,
                     [](double) { return 1.0; }};
const Way automatic{"`Xft.dpi` and `QT_AUTO_SCREEN_SCALE_FACTOR=1`",
                    [](double) {
                        return Environment{{"QT_AUTO_SCREEN_SCALE_FACTOR", "1"}};
                    },
                    true, whole};
const Way exact{"`Xft.dpi`, `QT_ENABLE_HIGHDPI_SCALING=1` and `QT_SCALE_FACTOR_ROUNDING_POLICY=PassThrough`",
                [](double) {
                    return Environment{{"QT_ENABLE_HIGHDPI_SCALING", "1"},
                                       {"QT_SCALE_FACTOR_ROUNDING_POLICY", "PassThrough"}};
                },
                true, as_asked};

struct Row
{
    const char *name;
    Way way;
    double scale;
    std::vector<QSize> sizes; ///< between them, the rows of a way have all
};

const std::vector<Row> rows{
    {"Factor1", factor, 1, sizes},
    {"Factor125", factor, 1.25, sizes},
    {"Factor15", factor, 1.5, sizes},
    {"Factor2", factor, 2, sizes},
    {"Screen1", screen_factors, 1, {sizes[0], sizes[4]}},
    {"Screen125", screen_factors, 1.25, {sizes[1]}},
    {"Screen15", screen_factors, 1.5, {sizes[2]}},
    {"Screen2", screen_factors, 2, {sizes[3]}},
    {"Resolution2", resolution, 2, {sizes[2]}},
    {"Automatic125", automatic, 1.25, {sizes[0], sizes[2]}},
    {"Automatic15", automatic, 1.5, {sizes[1], sizes[3]}},
    {"Automatic2", automatic, 2, {sizes[4]}},
    {"Exact1", exact, 1, {sizes[3]}},
    {"Exact125", exact, 1.25, {sizes[2], sizes[4]}},
    {"Exact15", exact, 1.5, {sizes[0]}},
    {"Exact2", exact, 2, {sizes[1]}},
};

/// Far enough from each other for tags of any scale.
const Places places{{6000, 6000}, {27000, 6000}, {6000, 27000}, {27000, 27000}};

class AtEveryScale : public testing::TestWithParam<Row>
{
};

TEST_P(AtEveryScale, ContactsAppearWhereTheyAreAndGoWhereTheyBelong)
{
    const QStringList packages = ScreensServer::missing_packages();
    if (!packages.isEmpty())
        GTEST_SKIP() << "needs the packages " << packages.join(", ").toStdString();
    const auto &[name, way, scale, sizes_here] = GetParam();
    ScreensServer server;
    server.arrange({{QPoint(0, 0), sizes.front()}}, 0);
    server.add_window_manager();
    if (way.dots_per_inch)
        server.set_dots_per_inch(96 * scale);
    for (const QSize size : sizes_here) {
        const QRect screen(QPoint(0, 0), size);
        server.arrange({screen}, 0);
        Desk desk(server.display(), way.environment(scale));
        ASSERT_TRUE(desk.fills(screen)) << size.width();
        const Mapping mapping({{screen, way.factor(scale)}}, 0);

        ASSERT_EQ(desk.judge(mapping, places).toStdString(), "") << size.width();

        // A size that every scale divides into whole pixels of Qt's.
        ASSERT_TRUE(desk.shrinks_to({size.width() / 4, size.height() / 4, 480, 360})) << size.width();
        EXPECT_EQ(desk.judge_edges(mapping).toStdString(), "") << size.width();
    }
    const double used = way.factor(scale);
    const auto place = static_cast<std::size_t>(&*std::find_if(rows.begin(), rows.end(), [&](const Row &row) {
        return row.name == GetParam().name;
    }) - rows.data());
    record("scales", place, {way.name, QString::number(scale), QString::number(used), "in place", "right"});
}

INSTANTIATE_TEST_SUITE_P(, AtEveryScale, testing::ValuesIn(rows),
                         [](const auto &row) { return row.param.name; });

TEST(TheTableOfScales, HasARowForEachTest)
{
    if (qEnvironmentVariableIsSet("LANTERNIX_SCREENS_ROWS"))
        GTEST_SKIP() << "the table is being written";
    EXPECT_EQ(recorded_names("scales").size(), static_cast<int>(rows.size()));
}

} // namespace
