#include "support/board_signals.h"
#include "support/recording_driver.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QScreen>
#include <QTest>
#include <QWidget>

#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Lines = std::vector<std::string>;
using PenEvent = ZorvicHardware::PenEvent;
using TouchEvent = ZorvicHardware::TouchEvent;

template <typename Row> std::string row_name(const testing::TestParamInfo<Row> &info)
{
    return info.param.name;
}

/// Two boards, and a widget of interest on pixels 200 to 599 across and 200 to 499 down on a screen of 800 by
/// 600.
class Redirection : public testing::Test
{
protected:
    static constexpr int over = 16384; ///< raw position over the widget, across and down
    static constexpr int away = 1000;  ///< raw position beside the widget

    Redirection()
    {
        driver.devices = {{2, 50, {}}, {1, 7, {}}, {1, 3, {}}};
        show(widget, {200, 200, 400, 300});
        hardware.init();
        hardware.setWidgetOfInterest(&widget);
        driver.clear();
    }

    static void show(QWidget &shown, const QRect &place)
    {
        shown.setWindowFlags(Qt::FramelessWindowHint);
        shown.setGeometry(place);
        shown.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&shown));
        EXPECT_EQ(shown.geometry(), place);
    }

    /// What became of one report: "emitted", "sent", both or "consumed".
    std::string fate_of(const QByteArray &report)
    {
        emitted.texts.clear();
        driver.clear();
        reports::deliver(hardware, report);
        std::string fate = emitted.texts.empty() ? "" : "emitted";
        for (std::size_t i = 0; i < driver.calls().size(); ++i)
            fate += fate.empty() ? "sent" : " sent";
        return fate.empty() ? "consumed" : fate;
    }

    std::string fate_of_pen(int pen, int place, bool down)
    {
        return fate_of(reports::pen({static_cast<quint8>(pen), place, place, down, false, false}));
    }

    std::string fate_of_touch(int id, int place, bool down)
    {
        return fate_of(reports::touch({{static_cast<quint8>(id), place, place, 5, down}}));
    }

    RecordingDriver driver;
    QWidget widget;
    ZorvicHardware hardware{nullptr};
    BoardSignals emitted{hardware};
};

enum Place { inside, outside };
enum Buttons { none, tip, button, both };

struct PenStep
{
    int pen;
    Place place;
    Buttons buttons;
    const char *fate;
};

struct PenRow
{
    const char *name;
    std::vector<PenStep> steps;
};

class APensDestination : public Redirection, public testing::WithParamInterface<PenRow>
{
};

TEST_P(APensDestination, IsThatOfItsFirstSampleUntilItLifts)
{
    int number = 0;
    for (const PenStep &step : GetParam().steps) {
        SCOPED_TRACE("step " + std::to_string(number++));
        const int place = step.place == inside ? over : away;
        const bool has_tip = step.buttons == tip || step.buttons == both;
        const bool has_button = step.buttons == button || step.buttons == both;
        const PenEvent event{static_cast<quint8>(step.pen), place, place, has_tip, has_button, false};

        EXPECT_EQ(fate_of(reports::pen(event)), step.fate);

        if (step.fate == std::string("emitted")) {
            EXPECT_EQ(emitted.texts, Lines{"penEvent(" + text_of(event) + ")"});
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Pens, APensDestination,
                         testing::Values(PenRow{"OfTheProgram",
                                                {{1, inside, tip, "emitted"},
                                                 {1, outside, tip, "emitted"},
                                                 {1, outside, none, "emitted"},
                                                 {1, outside, tip, "sent"}}},
                                         PenRow{"OfTheProgramWhileTheButtonHoldsIt",
                                                {{1, inside, both, "emitted"},
                                                 {1, outside, button, "emitted"},
                                                 {1, outside, tip, "emitted"},
                                                 {1, outside, none, "emitted"},
                                                 {1, outside, button, "sent"}}},
                                         PenRow{"OfTheProgramBeforeItTouches",
                                                {{1, inside, none, "emitted"},
                                                 {1, outside, tip, "emitted"},
                                                 {1, outside, none, "emitted"},
                                                 {1, outside, tip, "sent"}}},
                                         PenRow{"OfTheSystem",
                                                {{1, outside, tip, "sent"},
                                                 {1, inside, tip, "sent"},
                                                 {1, inside, none, "sent"},
                                                 {1, inside, tip, "emitted"}}},
                                         PenRow{"OfTheSystemWhileTheButtonHoldsIt",
                                                {{1, outside, button, "sent"},
                                                 {1, inside, both, "sent"},
                                                 {1, inside, button, "sent"},
                                                 {1, inside, none, "sent"},
                                                 {1, inside, button, "emitted"}}},
                                         PenRow{"OfTheSystemBeforeItTouches",
                                                {{1, outside, none, "sent"},
                                                 {1, inside, tip, "sent"},
                                                 {1, inside, none, "sent"},
                                                 {1, inside, tip, "emitted"}}},
                                         PenRow{"OfPenZero",
                                                {{0, outside, tip, "sent"},
                                                 {1, outside, tip, "consumed"},
                                                 {0, outside, none, "sent"}}},
                                         PenRow{"OfASecondPenBesideARedirectedOne",
                                                {{1, outside, tip, "sent"},
                                                 {2, outside, tip, "consumed"},
                                                 {2, inside, tip, "consumed"},
                                                 {1, outside, none, "sent"},
                                                 {2, outside, tip, "consumed"},
                                                 {2, inside, button, "consumed"},
                                                 {2, inside, none, "consumed"},
                                                 {2, outside, tip, "sent"}}},
                                         PenRow{"OfAThirdPenThatComesWhenTheFirstHasLifted",
                                                {{1, outside, tip, "sent"},
                                                 {2, outside, tip, "consumed"},
                                                 {1, outside, none, "sent"},
                                                 {3, outside, tip, "sent"},
                                                 {2, outside, none, "consumed"},
                                                 {2, outside, tip, "consumed"},
                                                 {3, inside, none, "sent"}}},
                                         PenRow{"OfEachPenOnItsOwn",
                                                {{1, outside, tip, "sent"},
                                                 {2, inside, tip, "emitted"},
                                                 {2, outside, tip, "emitted"},
                                                 {1, inside, tip, "sent"},
                                                 {2, outside, none, "emitted"},
                                                 {1, inside, none, "sent"},
                                                 {1, inside, tip, "emitted"}}}),
                         row_name<PenRow>);

struct Contact
{
    int id;
    Place place;
    bool down;
};

struct TouchStep
{
    std::vector<Contact> report;
    std::vector<int> emitted; ///< places in the report
    std::vector<int> sent;
};

struct TouchRow
{
    const char *name;
    std::vector<TouchStep> steps;
};

class AContactsDestination : public Redirection, public testing::WithParamInterface<TouchRow>
{
protected:
    static TouchEvent contacts_of(const std::vector<Contact> &report)
    {
        TouchEvent contacts;
        for (const Contact &contact : report) {
            const int place = contact.place == inside ? over : away;
            contacts.append(
                {static_cast<quint8>(contact.id), place, place + contacts.size(), 9, contact.down});
        }
        return contacts;
    }
};

TEST_P(AContactsDestination, IsThatOfItsFirstReportUntilItLifts)
{
    int number = 0;
    for (const TouchStep &step : GetParam().steps) {
        SCOPED_TRACE("step " + std::to_string(number++));
        const TouchEvent contacts = contacts_of(step.report);
        TouchEvent kept;
        for (const int place : step.emitted)
            kept.append(contacts.at(place));
        QByteArray sent(step.sent.empty() ? "" : "\0\x45", step.sent.empty() ? 0 : 2);
        for (const int place : step.sent) {
            auto contact = contacts.at(place);
            contact.extent = 0;
            sent.append(reports::touch({contact}).mid(2));
        }
        if (!sent.isEmpty())
            sent[0] = static_cast<char>(sent.size());

        emitted.texts.clear();
        driver.clear();
        reports::deliver(hardware, reports::touch(contacts));

        EXPECT_EQ(emitted.texts, kept.isEmpty() ? Lines{} : Lines{"touchEvent(" + text_of(kept) + ")"});
        ASSERT_EQ(driver.calls().size(), sent.isEmpty() ? 0U : 1U);
        if (!sent.isEmpty()) {
            EXPECT_EQ(driver.calls()[0].bytes.left(sent.size()), sent);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Touches, AContactsDestination,
    testing::Values(
        TouchRow{"OfTheProgram",
                 {{{{5, inside, true}}, {0}, {}},
                  {{{5, outside, true}}, {0}, {}},
                  {{{5, outside, false}}, {0}, {}},
                  {{{5, outside, true}}, {}, {0}}}},
        TouchRow{"OfTheSystem",
                 {{{{5, outside, true}}, {}, {0}},
                  {{{5, inside, true}}, {}, {0}},
                  {{{5, inside, false}}, {}, {0}},
                  {{{5, inside, true}}, {0}, {}}}},
        TouchRow{"OfTheProgramWhenItsFirstReportIsALift",
                 {{{{5, inside, false}}, {0}, {}}, {{{5, outside, true}}, {0}, {}}}},
        TouchRow{"OfTheSystemWhenItsFirstReportIsALift",
                 {{{{5, outside, false}}, {}, {0}}, {{{5, inside, true}}, {}, {0}}}},
        TouchRow{"OfTwoContactsApart", {{{{5, inside, true}, {6, outside, true}}, {0}, {1}}}},
        TouchRow{
            "OfManyContactsInTheirOrder",
            {{{{5, inside, true}, {6, outside, true}, {7, inside, true}, {8, outside, true}}, {0, 2}, {1, 3}},
             {{{8, inside, true}, {7, outside, false}, {6, inside, false}, {5, outside, true}},
              {1, 3},
              {0, 2}},
             {{{6, inside, true}, {7, outside, true}, {8, inside, true}}, {0}, {1, 2}}}},
        TouchRow{"OfOneIdTwiceInAReport",
                 {{{{5, outside, true}, {5, inside, true}}, {}, {0, 1}},
                  {{{5, inside, false}, {5, inside, true}}, {1}, {0}}}},
        TouchRow{"OfNoContact", {{{}, {}, {}}}}),
    row_name<TouchRow>);

TEST_F(Redirection, SendsNoOtherPenBeforeALift)
{
    ASSERT_EQ(fate_of_pen(1, away, true), "sent");
    driver.clear();
    bool is_lifting = true;
    driver.hooks["SendTouchPacketToSystem"] = [&] {
        if (std::exchange(is_lifting, false))
            std::thread([&] {
                reports::deliver(hardware, reports::pen({2, away, away, true, false, false}));
            }).join();
    };

    reports::deliver(hardware, reports::pen({1, away, away, false, false, false}));

    EXPECT_EQ(driver.calls().size(), 1U) << "the lift of the first pen alone";
    EXPECT_EQ(fate_of_pen(2, away, false), "consumed");
    EXPECT_EQ(fate_of_pen(2, away, true), "sent");
}

TEST_F(Redirection, KeepsPensAndTouchesOfOneNumberApart)
{
    EXPECT_EQ(fate_of_touch(5, over, true), "emitted");
    EXPECT_EQ(fate_of_pen(5, away, true), "sent");
    EXPECT_EQ(fate_of_touch(5, away, true), "emitted");
    EXPECT_EQ(fate_of_touch(6, away, true), "sent");
    EXPECT_EQ(fate_of_pen(6, over, true), "emitted");
}

TEST_F(Redirection, NeverTakesErasersOrStatusReports)
{
    EXPECT_EQ(fate_of(reports::erase({{5, away, away, 1, 1, true}})), "emitted");
    EXPECT_EQ(fate_of(reports::erase({})), "emitted");
    EXPECT_EQ(fate_of(reports::status({0, 0, 0, 0, 0, 0})), "emitted");
}

TEST_F(Redirection, AsksForTheWidgetOnTheVeryPixel)
{
    ASSERT_EQ(QGuiApplication::primaryScreen()->geometry(), QRect(0, 0, 800, 600));
    const struct
    {
        int x;
        int y;
        const char *fate;
    } rows[] = {
        {8191, over, "sent"},     // pixel 199 across
        {8192, over, "emitted"},  // 200
        {24575, over, "emitted"}, // 599
        {24576, over, "sent"},    // 600
        {over, 10922, "sent"},    // pixel 199 down
        {over, 10923, "emitted"}, // 200
        {over, 27305, "emitted"}, // 499
        {over, 27306, "sent"},    // 500
        {65535, 65535, "sent"},
    };
    quint8 id = 0;
    for (const auto &row : rows) {
        SCOPED_TRACE(std::to_string(row.x) + ", " + std::to_string(row.y));
        EXPECT_EQ(fate_of(reports::touch({{++id, row.x, row.y, 0, true}})), row.fate);
        EXPECT_EQ(fate_of(reports::pen({0, row.x, row.y, false, false, false})), row.fate);
        hardware.setWidgetOfInterest(nullptr);
        hardware.setWidgetOfInterest(&widget);
    }
}

TEST_F(Redirection, TakesAnotherWidgetInTheSamePlaceForTheSystems)
{
    QWidget child(&widget);
    child.setGeometry(widget.rect());
    child.show();

    EXPECT_EQ(fate_of_pen(1, over, true), "sent");
    EXPECT_EQ(fate_of_touch(1, over, true), "sent");
}

TEST_F(Redirection, LetsEverythingThroughWithoutAWidgetOfInterest)
{
    ZorvicHardware plain(nullptr);
    const TouchEvent contacts{{1, over, over, 5, true}, {2, away, away, 6, false}};

    EXPECT_FALSE(plain.preProcessPenEvent({1, away, away, true, false, false}));
    EXPECT_EQ(text_of(plain.preProcessTouchEvent(contacts)), text_of(contacts));
    EXPECT_EQ(driver.lines(), Lines{});
}

TEST_F(Redirection, TellsItsCallerWhatItTook)
{
    EXPECT_FALSE(hardware.preProcessPenEvent({1, over, over, true, false, false}));
    EXPECT_TRUE(hardware.preProcessPenEvent({2, away, away, true, false, false}));
    EXPECT_TRUE(hardware.preProcessPenEvent({3, away, away, true, false, false}));
    EXPECT_EQ(text_of(hardware.preProcessTouchEvent({{1, over, over, 5, true}, {2, away, away, 6, true}})),
              text_of(TouchEvent{{1, over, over, 5, true}}));
}

TEST_F(Redirection, ForgetsEveryDestinationWithTheWidgetOfInterest)
{
    ASSERT_EQ(fate_of_pen(1, over, true), "emitted");
    ASSERT_EQ(fate_of_pen(2, away, true), "sent");
    ASSERT_EQ(fate_of_pen(3, away, true), "consumed");
    ASSERT_EQ(fate_of_touch(1, over, true), "emitted");
    ASSERT_EQ(fate_of_touch(2, away, true), "sent");

    hardware.setWidgetOfInterest(nullptr);

    for (const int number : {1, 2, 3}) {
        EXPECT_EQ(fate_of_pen(number, away, true), "emitted");
        EXPECT_EQ(fate_of_touch(number, away, true), "emitted");
    }

    hardware.setWidgetOfInterest(&widget);

    EXPECT_EQ(fate_of_pen(2, over, true), "emitted");
    EXPECT_EQ(fate_of_pen(1, away, true), "sent") << "no pen is being redirected any more";
    EXPECT_EQ(fate_of_pen(3, over, true), "emitted");
    EXPECT_EQ(fate_of_touch(1, away, true), "sent");
    EXPECT_EQ(fate_of_touch(2, over, true), "emitted");
}

TEST_F(Redirection, KeepsEveryDestinationWhenAnotherWidgetIsNamed)
{
    ASSERT_EQ(fate_of_pen(1, over, true), "emitted");
    ASSERT_EQ(fate_of_pen(2, away, true), "sent");
    ASSERT_EQ(fate_of_touch(1, over, true), "emitted");
    ASSERT_EQ(fate_of_touch(2, away, true), "sent");
    QWidget other;
    show(other, {0, 0, 100, 100});

    hardware.setWidgetOfInterest(&other);

    EXPECT_EQ(fate_of_pen(1, over, true), "emitted");
    EXPECT_EQ(fate_of_pen(2, away, true), "sent");
    EXPECT_EQ(fate_of_pen(3, over, true), "consumed");
    EXPECT_EQ(fate_of_touch(1, over, true), "emitted");
    EXPECT_EQ(fate_of_touch(2, away, true), "sent");
    EXPECT_EQ(fate_of_touch(3, away, true), "emitted") << "over the other widget";
}

TEST_F(Redirection, RunsOnTheThreadThatBringsTheReport)
{
    ASSERT_EQ(fate_of_touch(2, away, true), "sent");
    std::string fate;

    std::thread([&] { fate = fate_of_touch(2, away, false); }).join();

    EXPECT_EQ(fate, "sent");
}

} // namespace
