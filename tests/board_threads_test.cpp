#include "support/board_signals.h"
#include "support/reports.h"
#include "support/simulated_driver.h"

#include <gtest/gtest.h>

#include <QMetaType>
#include <QSequentialIterable>
#include <QTest>

#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

using Lines = std::vector<std::string>;

TEST(TheRecords, AreKnownToQtByName)
{
    const ZorvicHardware hardware(nullptr);

    for (const char *name :
         {"ZorvicHardware::TouchContact", "ZorvicHardware::EraseContact", "ZorvicHardware::TouchEvent",
          "ZorvicHardware::EraseEvent", "ZorvicHardware::BoardInfo", "ZorvicHardware::TouchStatus",
          "ZorvicHardware::PenEvent"})
        EXPECT_TRUE(QMetaType::isRegistered(QMetaType::type(name))) << name;
    EXPECT_EQ(QMetaType::type("ZorvicHardware::TouchEvent"), qMetaTypeId<ZorvicHardware::TouchEvent>());
    EXPECT_EQ(QMetaType::type("ZorvicHardware::EraseEvent"), qMetaTypeId<ZorvicHardware::EraseEvent>());
}

TEST(TheListsOfContacts, AreContainersToQt)
{
    const ZorvicHardware hardware(nullptr);
    const QVariant touches = QVariant::fromValue(ZorvicHardware::TouchEvent{{1, 2, 3, 4, true}, {}});
    const QVariant erasers = QVariant::fromValue(ZorvicHardware::EraseEvent{{1, 2, 3, 4, 5, true}});

    ASSERT_TRUE(touches.canConvert<QVariantList>());
    ASSERT_TRUE(erasers.canConvert<QVariantList>());
    const auto touch_list = touches.value<QSequentialIterable>();
    ASSERT_EQ(touch_list.size(), 2);
    EXPECT_EQ(text_of(touch_list.at(0).value<ZorvicHardware::TouchContact>()),
              "touch 1 at 2, 3, extent 4, down");
    const auto eraser_list = erasers.value<QSequentialIterable>();
    ASSERT_EQ(eraser_list.size(), 1);
    EXPECT_EQ(text_of(eraser_list.at(0).value<ZorvicHardware::EraseContact>()),
              "eraser 1 at 2, 3, size 4, 5, down");
}

/// A second manager without a driver, on the GUI thread, that repeats each signal of the first. It is
/// connected by name, because Qt then needs every record's type name to queue it.
class QueuedSignals
{
public:
    explicit QueuedSignals(const ZorvicHardware &hardware)
    {
        for (const char *signal :
             {SIGNAL(pnpEvent()), SIGNAL(boardEnumerated(int, ZorvicHardware::BoardInfo)),
              SIGNAL(hubEnumerated(QString)), SIGNAL(deviceEnumCount(int)),
              SIGNAL(penEvent(ZorvicHardware::PenEvent)), SIGNAL(touchEvent(ZorvicHardware::TouchEvent)),
              SIGNAL(eraseEvent(ZorvicHardware::EraseEvent)),
              SIGNAL(touchStatus(int, ZorvicHardware::TouchStatus))})
            EXPECT_TRUE(QObject::connect(&hardware, signal, &m_relay, signal)) << signal;
    }

    const Lines &texts() const { return m_signals.texts; }
    /// Runs the event loop until the last of @p expected has arrived, then compares all.
    void expect(const Lines &expected)
    {
        EXPECT_TRUE(QTest::qWaitFor([&] { return texts().size() >= expected.size(); }));
        EXPECT_EQ(texts(), expected);
    }

private:
    ZorvicHardware m_relay{nullptr};
    BoardSignals m_signals{m_relay};
};

TEST(SignalsOfAnotherThread, WaitForTheReceiversEventLoopAndKeepTheirOrder)
{
    ZorvicHardware hardware(nullptr);
    QueuedSignals queued(hardware);

    std::thread([&hardware] {
        reports::deliver(hardware, reports::pen({1, 4660, 22136, true, true, false}));
        reports::deliver(hardware, reports::touch({{5, 1, 2, 3, true}, {6, 7, 8, 9, false}}));
        reports::deliver(hardware, reports::erase({{5, 1, 2, 3, 4, true}}));
        reports::deliver(hardware, reports::status({1, 2, 3, 4, 5, -1}));
        hardware.pnp();
        emit hardware.hubEnumerated("virtual");
        emit hardware.boardEnumerated(2, {"HID", 1, 2, 3, 4, 5, 6});
    }).join();

    EXPECT_EQ(queued.texts(), Lines{}) << "before the event loop runs";
    queued.expect({"penEvent(pen 1 at 4660, 22136, tip, button)",
                   "touchEvent(touch 5 at 1, 2, extent 3, down; touch 6 at 7, 8, extent 9)",
                   "eraseEvent(eraser 5 at 1, 2, size 3, 4, down)", "touchStatus(0, status 1 2 3 4 5 -1)",
                   "pnpEvent()", "deviceEnumCount(0)", "hubEnumerated(virtual)",
                   "boardEnumerated(2, board 6 of type \"HID\" 1 2 3 4 5)"});
}

TEST(TheSimulatedDriver, SendsReportsFromAThreadOfItsOwnThroughAllOfTheManager)
{
    SimulatedDriver driver(
        SimulatedDriver::two_boards_and_a_hub()
        + QStringList{SimulatedDriver::gate("reports"),
                      R"({"type":"pen","board":7,"pen":1,"x":4660,"y":22136,"tip":true,"button":false})",
                      R"({"type":"raw","board":3,"hex":"004100 0045 85 0100 0200 0300"})",
                      R"({"type":"raw","board":7,"hex":"092100341278560B00"})",
                      R"({"type":"raw","board":7,"hex":"0046"})"});
    ZorvicHardware hardware(nullptr);
    QueuedSignals queued(hardware);

    EXPECT_TRUE(hardware.init());
    driver.open_gate("reports");

    queued.expect({"boardEnumerated(0, board 7 of type \"HID\" 1240 161 4 10 2)", "hubEnumerated(legacy)",
                   "boardEnumerated(1, board 3 of type \"serial\" 0 0 0 0 0)", "deviceEnumCount(3)",
                   "penEvent(pen 1 at 4660, 22136, tip)", "touchEvent(touch 5 at 1, 2, extent 3, down)",
                   "eraseEvent()"});
    hardware.uninit();
}

TEST(TheSimulatedDriver, IsSetUpAndLeftInOrder)
{
    SimulatedDriver driver;
    ZorvicHardware hardware(nullptr);

    EXPECT_TRUE(hardware.init());
    hardware.uninit();

    EXPECT_EQ(driver.call_texts(),
              (Lines{"Attach()", "SetPnpCallback()", "Attach()", "GetDeviceCount()", "EnumDeviceInfo(0)",
                     "SetCallback(7)", "SetXferMask(7, 255)", "EnumDeviceInfo(1)", "EnumDeviceInfo(2)",
                     "SetCallback(3)", "SetXferMask(3, 255)", "ClearCallback(0)", "Detach()"}));
}

TEST(ABoardThatIsUnplugged, IsForgottenOnTheDriversThread)
{
    SimulatedDriver driver(SimulatedDriver::two_boards_and_a_hub()
                           + QStringList{SimulatedDriver::gate("unplug"), R"({"type":"unplug","board":7})"});
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.clear_calls();
    QueuedSignals queued(hardware);

    driver.open_gate("unplug");

    queued.expect({"pnpEvent()", "hubEnumerated(legacy)",
                   "boardEnumerated(0, board 3 of type \"serial\" 0 0 0 0 0)", "deviceEnumCount(2)"});
    hardware.uninit();
    const auto withdrawn = driver.calls("ClearCallback");
    ASSERT_GE(withdrawn.size(), 2U);
    EXPECT_NE(withdrawn[0].thread, gettid());
}

struct VariantRow
{
    const char *variant;
    Lines emitted;
};

class ADriverWithoutSomeFunctions : public testing::TestWithParam<VariantRow>
{
};

TEST_P(ADriverWithoutSomeFunctions, StillStartsAndEnds)
{
    const SimulatedDriver driver({R"({"type":"device","kind":1,"board":7,"info":""})"}, GetParam().variant);
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);

    testing::internal::CaptureStderr();
    EXPECT_TRUE(hardware.init());
    hardware.uninit();

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(emitted.texts, GetParam().emitted);
}

const Lines one_board{"boardEnumerated(0, board 7 of type \"\" 0 0 0 0 0)", "deviceEnumCount(1)"};

INSTANTIATE_TEST_SUITE_P(Variants, ADriverWithoutSomeFunctions,
                         testing::Values(VariantRow{"without_anything", {"deviceEnumCount(0)"}},
                                         VariantRow{"without_GetDeviceCount", {"deviceEnumCount(0)"}},
                                         VariantRow{"without_EnumDeviceInfo", {"deviceEnumCount(1)"}},
                                         VariantRow{"without_callbacks", one_board},
                                         VariantRow{"without_Detach", one_board}),
                         [](const auto &row) { return std::string(row.param.variant); });

Lines messages;

void keep_message(QtMsgType, const QMessageLogContext &, const QString &text)
{
    messages.push_back(text.toStdString());
}

TEST(ADump, NamesItsLabelAndEveryByteInDecimal)
{
    const unsigned char bytes[] = {0, 7, 255};
    const QtMessageHandler before = qInstallMessageHandler(keep_message);

    ZorvicHardware::dumpPacket("pen %1", bytes, 3);
    ZorvicHardware::dumpPacket("empty", nullptr, 0);
    qInstallMessageHandler(before);

    EXPECT_EQ(messages, (Lines{"Dump Packet (pen %1): 0, 7, 255, ", "Dump Packet (empty): "}));
}

} // namespace
