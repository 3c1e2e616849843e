#include "strokesview.h"
#include "support/contacts.h"
#include "support/event_counts.h"
#include "support/live_dialog.h"
#include "support/reports.h"
#include "support/simulated_driver.h"

#include <QTest>

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Tests with reports of sizes, and with contacts, that no finger makes.

namespace {

using TouchEvent = ZorvicHardware::TouchEvent;
using EraseEvent = ZorvicHardware::EraseEvent;

constexpr int middle = 16384; // raw board units

/// Touch reports of @p count contacts in a row on the screen.
QStringList touches(int count, bool down = true, int y = middle)
{
    QStringList contacts;
    for (int id = 0; id < count; ++id)
        contacts << QStringLiteral(R"({"id":%1,"x":%2,"y":%3,"extent":100,"down":%4})")
                        .arg(id)
                        .arg(1000 + 200 * id)
                        .arg(y)
                        .arg(down ? "true" : "false");
    return {QStringLiteral(R"({"type":"touch","board":7,"contacts":[%1]})").arg(contacts.join(','))};
}

const char *const eraser =
    R"({"type":"erase","board":7,"contacts":[{"id":5,"x":9000,"y":9000,"width":300,"height":600,"down":true}]})";
const char *const pen = R"({"type":"pen","board":7,"pen":0,"x":9000,"y":9000,"tip":true,"button":false})";

/// A board manager with a driver whose reports have @p length bytes each.
class LongReports
{
public:
    LongReports(int length, const QStringList &reports)
        : driver(SimulatedDriver::hostile("report-length=" + QByteArray::number(length),
                                          SimulatedDriver::two_boards_and_a_hub() << SimulatedDriver::gate(
                                              "go") << reports << R"({"type":"mark","text":"played"})"))
    {
        QObject::connect(&hardware, &ZorvicHardware::touchEvent, &m_context,
                         [this](const TouchEvent &event) { touched.push_back(event); });
        QObject::connect(&hardware, &ZorvicHardware::eraseEvent, &m_context,
                         [this](const EraseEvent &event) { erased.push_back(event); });
        QObject::connect(&hardware, &ZorvicHardware::penEvent, &m_context, [this] { ++pens; });
        hardware.init();
    }
    ~LongReports() { hardware.uninit(); }
    LongReports(const LongReports &) = delete;
    LongReports &operator=(const LongReports &) = delete;

    void play()
    {
        driver.open_gate("go");
        ASSERT_TRUE(QTest::qWaitFor([this] { return driver.has_mark("played"); }));
        QCoreApplication::processEvents();
    }

    SimulatedDriver driver;
    ZorvicHardware hardware{nullptr};
    std::vector<TouchEvent> touched;
    std::vector<EraseEvent> erased;
    int pens = 0;

private:
    QObject m_context;
};

TEST(AReportOf64KiB, IsDecodedWhole)
{
    constexpr int length = 65536;
    LongReports board(length, touches(1) << eraser << pen);

    board.play();

    ASSERT_EQ(board.touched.size(), 1U);
    ASSERT_EQ(board.touched[0].size(), (length - 2) / 7);
    EXPECT_EQ(board.touched[0].last().x, 1000);
    EXPECT_TRUE(board.touched[0].last().down);
    ASSERT_EQ(board.erased.size(), 1U);
    ASSERT_EQ(board.erased[0].size(), (length - 2) / 9);
    EXPECT_EQ(board.erased[0].last().height, 600);
    EXPECT_EQ(board.pens, 0) << "of this length it is no pen";
}

TEST(AReportOfTenThousandContacts, IsDecodedInOrder)
{
    LongReports board(2 + 10'000 * 7, touches(125));

    board.play();

    ASSERT_EQ(board.touched.size(), 1U);
    const TouchEvent &contacts = board.touched[0];
    ASSERT_EQ(contacts.size(), 10'000);
    for (int i = 0; i < contacts.size(); ++i)
        ASSERT_EQ(contacts[i].id, i % 125) << i;
}

TEST(AReportOfTenThousandContacts, ThatBelongsToTheSystemIsWrittenBackOnce)
{
    LongReports board(2 + 10'000 * 7, touches(125));
    QWidget hidden;
    board.hardware.setWidgetOfInterest(&hidden);

    board.play();

    EXPECT_TRUE(board.touched.empty());
    const auto calls = board.driver.calls("SendTouchPacketToSystem");
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].arguments["length"], (2 + 10'000 * 7) % 256);
    const std::string start = calls[0].arguments["data"];
    EXPECT_EQ(start.substr(0, 18), "724580e80300400000");
}

/// The window with a driver whose reports have the length that the misbehaviour names; the usual one without.
class TheWindow : public LiftsContacts
{
protected:
    static SimulatedDriver driver(const QByteArray &misbehaviour, const QStringList &reports)
    {
        return SimulatedDriver::hostile(misbehaviour,
                                        SimulatedDriver::two_boards_and_a_hub() << SimulatedDriver::gate(
                                            "go") << reports << R"({"type":"mark","text":"played"})");
    }
    static bool play(SimulatedDriver &driver)
    {
        driver.open_gate("go");
        const bool played = QTest::qWaitFor([&] { return driver.has_mark("played"); }, 20'000);
        QCoreApplication::processEvents();
        return played;
    }
};

struct Length
{
    const char *name;
    int bytes;
};

class TheWindowWithLongReports : public TheWindow, public testing::WithParamInterface<Length>
{
};

TEST_P(TheWindowWithLongReports, TakesThemAndGoesOn)
{
    SimulatedDriver board = driver("report-length=" + QByteArray::number(GetParam().bytes),
                                   touches(125) << eraser << pen << touches(125, false));
    LiveDialog dialog;

    EXPECT_TRUE(play(board));

    EXPECT_EQ(dialog.touches, 2);
    EXPECT_EQ(dialog.erasers, 1);
    EXPECT_EQ(dialog.pens, 0);
    EXPECT_TRUE(dialog.takes_a_pen());
}

INSTANTIATE_TEST_SUITE_P(, TheWindowWithLongReports,
                         testing::Values(Length{"Of64KiB", 65536},
                                         Length{"OfTenThousandContacts", 2 + 10'000 * 7}),
                         [](const auto &row) { return row.param.name; });

struct Crowd
{
    const char *name;
    int contacts;
};

class TheWindowUnderACrowd : public TheWindow, public testing::WithParamInterface<Crowd>
{
};

TEST_P(TheWindowUnderACrowd, DrawsEveryContact)
{
    const int count = GetParam().contacts;
    SimulatedDriver board = driver(
        {}, touches(count) << touches(count, true, middle + 500) << touches(count, false, middle + 500));
    LiveDialog dialog;
    std::vector<std::size_t> sizes;
    QObject::connect(&dialog.view(), &ItemView::out_touch_event, &dialog.view(),
                     [&](const std::vector<Korvane::Controls> &records) { sizes.push_back(records.size()); });

    EXPECT_TRUE(play(board));

    EXPECT_EQ(sizes, std::vector<std::size_t>(3, static_cast<std::size_t>(count)));
    EXPECT_TRUE(dialog.takes_a_pen());
}

INSTANTIATE_TEST_SUITE_P(, TheWindowUnderACrowd, testing::Values(Crowd{"Of127", 127}, Crowd{"OfAll128", 128}),
                         [](const auto &row) { return row.param.name; });

TEST_F(TheWindow, BearsContactsThatNeverLift)
{
    QStringList reports;
    for (int round = 0; round < 20; ++round)
        reports << touches(128, true, middle + 10 * round);
    SimulatedDriver board = driver({}, reports);
    LiveDialog dialog;

    EXPECT_TRUE(play(board));

    EXPECT_EQ(dialog.touches, 20);
    EXPECT_TRUE(dialog.takes_a_pen());
    dialog.end();
    EXPECT_EQ(board.call_texts().back(), "Detach()");
}

TEST(ContactsThatNeverLift, GoToTheSystemAsLongAsTheyAreDown)
{
    LongReports board(3, touches(128) + touches(128, true, 3) + touches(128, true, 4));
    QWidget hidden;
    board.hardware.setWidgetOfInterest(&hidden);

    board.play();

    EXPECT_TRUE(board.touched.empty());
    const auto calls = board.driver.calls("SendTouchPacketToSystem");
    ASSERT_EQ(calls.size(), 3U);
    for (const DriverCall &call : calls)
        EXPECT_EQ(call.arguments["length"], (2 + 128 * 7) % 256);
}

} // namespace
