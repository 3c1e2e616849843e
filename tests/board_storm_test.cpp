#include "hardware/zorvichardware.h"
#include "support/simulated_driver.h"

#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

#include <atomic>

// The board list between two threads of the driver. scripts/storm runs this under ThreadSanitizer, without
// the suppression for Qt's events, which also hides what Qt's containers do to the memory of their elements.

namespace {

/// Changes of the boards: LANTERNIX_STORM_CYCLES in the environment, or what fits in one second.
int change_count()
{
    bool given = false;
    const int count = qEnvironmentVariableIntValue("LANTERNIX_STORM_CYCLES", &given);
    return given ? count : 50;
}

/// So many boards that the list of boards grows several times during an enumeration.
QStringList many_boards_that_come_and_go()
{
    QStringList scenario;
    for (int board = 1; board <= 8; ++board)
        scenario << QStringLiteral(R"({"type":"device","kind":1,"board":%1,"info":""})").arg(board);
    return scenario << R"({"type":"repeat"})"
                    << R"({"type":"wait","time":1000})"
                    << R"({"type":"unplug","board":8})"
                    << R"({"type":"plug","board":8})"
                    << R"({"type":"end"})";
}

// Deliberate: without the window, whose calls would put the driver's two threads in an order.
TEST(AStormOfChanges, LeavesAnotherThreadSendingToTheSystem)
{
    SimulatedDriver driver = SimulatedDriver::hostile("second-thread=2", many_boards_that_come_and_go());
    std::atomic<int> changes = 0;
    QWidget hidden;
    ZorvicHardware hardware(nullptr);
    QObject::connect(
        &hardware, &ZorvicHardware::pnpEvent, &hidden, [&changes] { ++changes; }, Qt::DirectConnection);
    hardware.setWidgetOfInterest(&hidden);

    hardware.init();
    EXPECT_TRUE(QTest::qWaitFor([&changes] { return changes >= change_count(); }, 100'000));
    hardware.uninit();

    EXPECT_EQ(driver.calls().back().name, "Detach");
}

} // namespace
