#include "lxwindow.h"
#include "strokesview.h"
#include "support/queue_order.h"
#include "support/simulated_driver.h"

#include <QApplication>
#include <QTest>

#include <gtest/gtest.h>

#include <atomic>

namespace {

/// How often a board is unplugged and plugged in again: LANTERNIX_STORM_CYCLES in the environment, or what
/// fits in one second.
int cycles()
{
    bool given = false;
    const int count = qEnvironmentVariableIntValue("LANTERNIX_STORM_CYCLES", &given);
    return given ? count : 50;
}

/// Scenario lines: ten touches and four pens report 1,000 times a second on board 7, while board 3 comes and
/// goes every 20 ms, for ever.
QStringList storm()
{
    QStringList contacts;
    for (int id = 0; id < 10; ++id)
        contacts << QStringLiteral(R"({"kind":"touch","id":%1,"extent":300,"circle":)"
                                   R"({"centre":[%2,20000],"radius":[1000,9000],"from":0,"to":90}})")
                        .arg(id)
                        .arg(3000 + 2600 * id);
    for (int pen = 0; pen < 4; ++pen)
        contacts << QStringLiteral(
                        R"({"kind":"pen","id":%1,"tip":true,"button":false,"line":[[%2,2000],[%2,31000]]})")
                        .arg(pen)
                        .arg(4000 + 7000 * pen);
    const QString move =
        QStringLiteral(R"({"type":"move","board":7,"rate":1000,"time":10000,"contacts":[%1]})")
            .arg(contacts.join(','));
    return SimulatedDriver::two_boards_and_a_hub()
        << R"({"type":"repeat"})" << move << R"({"type":"unplug","board":3})" << move
        << R"({"type":"plug","board":3})"
        << R"({"type":"end"})";
}

class AStormOfReportsAndChanges : public testing::TestWithParam<bool>
{
};

TEST_P(AStormOfReportsAndChanges, LeavesTheProgramWorking)
{
    const bool with_tags = GetParam();
    const QueueOrder order;
    SimulatedDriver driver(storm());
    std::atomic<int> changes = 0; // counted on the emitting thread, however far behind the window is
    {
        LanternixDialog dialog(nullptr);
        auto &view = *dialog.findChild<StrokesView *>();
        auto &korvane = *dialog.findChild<Korvane *>();
        auto &hardware = *dialog.findChild<ZorvicHardware *>();
        QObject::connect(
            &hardware, &ZorvicHardware::deviceEnumCount, &view, [&changes] { ++changes; },
            Qt::DirectConnection);
        view.m_show_tags = with_tags;

        bool interested = true;
        while (changes < 2 * cycles()) {
            korvane.configureHardware(interested);
            interested = !interested;
            hardware.setWidgetOfInterest(interested ? &view : nullptr);
            hardware.getTouchStatus(7);
            QApplication::processEvents();
            if (changes % 20 == 0)
                view.clear_strokes();
        }
        EXPECT_TRUE(dialog.isVisible());
    }
    EXPECT_EQ(driver.calls().back().name, "Detach");
}

INSTANTIATE_TEST_SUITE_P(, AStormOfReportsAndChanges, testing::Bool(),
                         [](const auto &row) { return row.param ? "WithTags" : "WithoutTags"; });

} // namespace
